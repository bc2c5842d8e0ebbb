#include "models/orlix_crypto.h"

#include <array>
#include <cstdio>
#include <limits>
#include <memory>

#include <openssl/evp.h>

#include "utils/files.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::size_t kIvSize = 12;
constexpr std::size_t kTagSize = 16;
constexpr std::size_t kKeySize = 32;
constexpr std::size_t kHashBlockSize = 4096;

// Large enough that libcrypto's bulk code does the work; the cipher does not depend on it.
constexpr std::size_t kCipherBlockSize = 64 * 1024;

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

// What stands around the ciphertext.
struct Envelope
{
    std::array<unsigned char, kIvSize> iv{};
    std::array<unsigned char, kTagSize> tag{};
    std::uint64_t ciphertextSize = 0;
};

bool readWhole(std::FILE* file, unsigned char* to, std::size_t size)
{
    return std::fread(to, 1, size, file) == size;
}

// Leaves the read position at the start of the ciphertext. False for a file too short to hold one.
bool readEnvelope(std::FILE* input, std::uint64_t fileSize, Envelope& envelope)
{
    if (fileSize < kIvSize + kTagSize)
        return false;
    envelope.ciphertextSize = fileSize - kIvSize - kTagSize;
    return file_seek(input, fileSize - kTagSize) &&
        readWhole(input, envelope.tag.data(), kTagSize) && file_seek(input, 0) &&
        readWhole(input, envelope.iv.data(), kIvSize);
}

CipherContext startDecryption(const unsigned char* key, Envelope& envelope)
{
    CipherContext context(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    if (!context ||
        EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key, envelope.iv.data()) !=
            1 ||
        EVP_CIPHER_CTX_ctrl(
            context.get(), EVP_CTRL_AEAD_SET_IVLEN, static_cast<int>(kIvSize), nullptr) != 1 ||
        EVP_CIPHER_CTX_ctrl(
            context.get(), EVP_CTRL_AEAD_SET_TAG, static_cast<int>(kTagSize),
            envelope.tag.data()) != 1)
    {
        context.reset();
    }
    return context;
}

Outcome decryptStream(
    EVP_CIPHER_CTX* context, std::uint64_t remaining, std::FILE* input, std::FILE* output,
    const std::string& outputPath, const std::stop_token& stop)
{
    Bytes ciphertext(kCipherBlockSize);
    Bytes plaintext(kCipherBlockSize);
    while (remaining > 0)
    {
        const auto size =
            static_cast<std::size_t>(std::min<std::uint64_t>(remaining, kCipherBlockSize));
        int written = 0;
        if (stop.stop_requested() || !readWhole(input, ciphertext.data(), size) ||
            EVP_DecryptUpdate(
                context, plaintext.data(), &written, ciphertext.data(), static_cast<int>(size)) !=
                1)
        {
            return Outcome::failed("The model's file could not be read.");
        }
        const auto count = static_cast<std::size_t>(written);
        if (std::fwrite(plaintext.data(), 1, count, output) != count)
            return Outcome::failedAt(outputPath);
        remaining -= size;
    }
    return {};
}

std::optional<Bytes> failed(const char* text)
{
    log_error("%s", text);
    return std::nullopt;
}

} // namespace

bool decryptModelFile(
    std::string_view key, const std::string& inputPath, const std::string& outputPath)
{
    const FileStream output(file_open_private(outputPath.c_str()));
    if (!output)
    {
        log_error("Error opening output file: %s\n", outputPath.c_str());
        return false;
    }
    return static_cast<bool>(decryptModelFile(key, inputPath, outputPath, output.get()));
}

Outcome decryptModelFile(
    std::string_view key, const std::string& inputPath, const std::string& outputPath,
    std::FILE* output, const std::stop_token& stop)
{
    const FileStream input(file_open_read(inputPath.c_str()));
    if (!input)
    {
        Outcome outcome = Outcome::failedAt(inputPath);
        log_error("Error opening input file: %s\n", inputPath.c_str());
        return outcome;
    }
    if (key.size() < kKeySize)
        return Outcome::failed("The model's key is too short.");
    Envelope envelope;
    if (!readEnvelope(input.get(), file_size(input.get()), envelope))
        return Outcome::failed("The model's file is too short.");
    const CipherContext context =
        startDecryption(reinterpret_cast<const unsigned char*>(key.data()), envelope);
    if (!context)
        return Outcome::failed("There is no memory for it.");

    const Outcome decrypted = decryptStream(
        context.get(), envelope.ciphertextSize, input.get(), output, outputPath, stop);
    if (!decrypted)
        return decrypted;
    std::array<unsigned char, EVP_MAX_BLOCK_LENGTH> rest{}; // stays empty in this mode
    int restSize = 0;
    if (EVP_DecryptFinal_ex(context.get(), rest.data(), &restSize) <= 0)
        return Outcome::failed("The model's file and its key do not belong together.");
    return std::fflush(output) == 0 ? Outcome() : Outcome::failedAt(outputPath);
}

std::optional<Bytes> fileMd5(const std::string& path, const std::stop_token& stop)
{
    const FileStream file(file_open_read(path.c_str()));
    if (!file)
    {
        log_error("Error opening file: %s\n", path.c_str());
        return std::nullopt;
    }
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(
        EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!context)
        return failed("EVP_MD_CTX_new failed.\n");
    if (EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr) != 1)
        return failed("EVP_DigestInit_ex failed.\n");

    std::array<unsigned char, kHashBlockSize> block{};
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), file.get()))
    {
        if (stop.stop_requested() || EVP_DigestUpdate(context.get(), block.data(), size) != 1)
            return failed("EVP_DigestUpdate failed.\n");
    }
    Bytes hash(kMd5Size);
    if (std::ferror(file.get()) || EVP_DigestFinal_ex(context.get(), hash.data(), nullptr) != 1)
        return failed("EVP_DigestFinal_ex failed.\n");
    return hash;
}

std::optional<Bytes> base64Decode(std::string_view text)
{
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return std::nullopt;
    const std::size_t size = text.size() * 3 / 4;
    // The decoder writes whole groups of three.
    Bytes bytes(size + 3);
    const int decoded = EVP_DecodeBlock(
        bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
        static_cast<int>(text.size()));
    if (decoded != static_cast<int>(size))
        return std::nullopt;
    bytes.resize(size);
    return bytes;
}

std::string base64Encode(const Bytes& bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // with the encoder's terminator
    const int size = EVP_EncodeBlock(
        reinterpret_cast<unsigned char*>(text.data()), bytes.data(),
        static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
