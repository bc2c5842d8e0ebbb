#include "model_files.h"

#include <memory>
#include <stdexcept>

#include <openssl/evp.h>
#include <openssl/rand.h>

namespace tavo::devkit
{

namespace
{

unsigned char* bytes(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

const unsigned char* bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

void require(bool done)
{
    if (!done)
        throw std::runtime_error("libcrypto failed");
}

std::string randomBytes(std::size_t size)
{
    std::string text(size, '\0');
    require(RAND_bytes(bytes(text), static_cast<int>(size)) == 1);
    return text;
}

std::string base64(const std::string& data)
{
    std::string text((data.size() + 2) / 3 * 4 + 1, '\0');
    const int size = EVP_EncodeBlock(bytes(text), bytes(data), static_cast<int>(data.size()));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

std::string md5(const std::string& data)
{
    std::string hash(EVP_MAX_MD_SIZE, '\0');
    unsigned int size = 0;
    require(EVP_Digest(data.data(), data.size(), bytes(hash), &size, EVP_md5(), nullptr) == 1);
    hash.resize(size);
    return hash;
}

} // namespace

StoredModel encryptModel(const std::string& plaintext)
{
    constexpr std::size_t kTagSize = 16;
    const std::string key = randomBytes(32);
    const std::string iv = randomBytes(12);
    std::string ciphertext(plaintext.size(), '\0');
    std::string tag(kTagSize, '\0');

    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    int size = 0;
    require(
        context &&
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, bytes(key), bytes(iv)) == 1 &&
        EVP_EncryptUpdate(
            context.get(), bytes(ciphertext), &size, bytes(plaintext),
            static_cast<int>(plaintext.size())) == 1 &&
        EVP_EncryptFinal_ex(context.get(), bytes(tag), &size) == 1 &&
        EVP_CIPHER_CTX_ctrl(
            context.get(), EVP_CTRL_AEAD_GET_TAG, static_cast<int>(kTagSize), bytes(tag)) == 1);

    StoredModel model = plainModel(iv + ciphertext + tag);
    model.key = base64(key);
    return model;
}

StoredModel plainModel(std::string content)
{
    StoredModel model;
    model.digest = base64(md5(content));
    model.content = std::move(content);
    return model;
}

} // namespace tavo::devkit
