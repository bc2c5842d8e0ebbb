#pragma once

#include <string>

namespace tavo::devkit
{

// A model as the storage serves it.
struct StoredModel
{
    std::string content; // what goes over the wire
    std::string digest; // MD5 of it, in base64
    std::string key; // of an encrypted model: 32 bytes, in base64; empty for a plain one
};

// Encrypts with AES-256-GCM: 12 bytes initialisation vector, the ciphertext, 16 bytes tag, with a
// new key and vector each time. Throws std::runtime_error if libcrypto fails.
[[nodiscard]] StoredModel encryptModel(const std::string& plaintext);

[[nodiscard]] StoredModel plainModel(std::string content);

} // namespace tavo::devkit
