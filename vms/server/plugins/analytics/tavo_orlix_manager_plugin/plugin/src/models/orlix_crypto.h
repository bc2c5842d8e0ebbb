#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// Decrypting and hashing of model files and their texts, over libcrypto. No state, no key is kept.
// Failures are logged and go to standard error; nothing throws.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Decrypts an AES-256-GCM file: 12 bytes initialisation vector, the ciphertext, 16 bytes tag. The
// key is the first 32 bytes of `key`; a shorter one is refused. The output is created with owner-only
// access. True if all was decrypted and authentic; on false the output, if any, is not to be used.
[[nodiscard]] bool decryptModelFile(const char* key, std::size_t keySize,
    const std::string& inputPath, const std::string& outputPath);

} // namespace tavo::vms_server_plugins::analytics::orlix
