// What decrypting a model costs, beside the cipher alone on memory at the same block size.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include "models/orlix_crypto.h"

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;

constexpr std::size_t kBlockSize = 64 * 1024;
const std::string kKey(32, 'k');

std::string folder;

const unsigned char* bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

EVP_CIPHER_CTX* newCipher(const std::string& iv, bool encrypt)
{
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    EVP_CipherInit_ex(context, EVP_aes_256_gcm(), nullptr, bytes(kKey), bytes(iv), encrypt ? 1 : 0);
    return context;
}

void writeEncrypted(const std::string& path, std::size_t size)
{
    const std::string iv(12, 'i');
    std::ofstream file(path, std::ios::binary);
    file << iv;
    EVP_CIPHER_CTX* const context = newCipher(iv, /*encrypt*/ true);
    std::string plain(kBlockSize, 'p');
    std::vector<unsigned char> block(kBlockSize + EVP_MAX_BLOCK_LENGTH);
    int written = 0;
    for (std::size_t done = 0; done < size; done += kBlockSize)
    {
        EVP_CipherUpdate(context, block.data(), &written, bytes(plain), int(plain.size()));
        file.write(reinterpret_cast<const char*>(block.data()), written);
    }
    EVP_CipherFinal_ex(context, block.data(), &written);
    char tag[16];
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_AEAD_GET_TAG, sizeof tag, tag);
    file.write(tag, sizeof tag);
    EVP_CIPHER_CTX_free(context);
}

void decryptFile(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0)) * 1024 * 1024;
    writeEncrypted(folder + "/model.enc", size);
    for (auto _ : state)
    {
        if (!decryptModelFile(kKey, folder + "/model.enc", folder + "/model"))
            state.SkipWithError("not decrypted");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

void cipherAlone(benchmark::State& state)
{
    EVP_CIPHER_CTX* const context = newCipher(std::string(12, 'i'), /*encrypt*/ false);
    const std::string block(kBlockSize, 'c');
    std::vector<unsigned char> plain(kBlockSize + EVP_MAX_BLOCK_LENGTH);
    int written = 0;
    for (auto _ : state)
        EVP_CipherUpdate(context, plain.data(), &written, bytes(block), int(block.size()));
    EVP_CIPHER_CTX_free(context);
    state.SetBytesProcessed(static_cast<std::int64_t>(kBlockSize) * state.iterations());
}

BENCHMARK(cipherAlone);
BENCHMARK(decryptFile)->ArgName("MiB")->Arg(1024)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    // In memory where that can be had, so that the disk is not measured.
    std::string pattern = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
    pattern += "/orlix_bench_XXXXXX";
    if (!mkdtemp(pattern.data()))
        return 1;
    folder = pattern;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(folder);
    return 0;
}
