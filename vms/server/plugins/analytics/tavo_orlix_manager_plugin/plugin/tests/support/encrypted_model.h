#pragma once

#include <string>

#include <openssl/evp.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A model's file as the storage has it. Of the key 32 bytes are used.
inline std::string encryptedModel(const std::string& plaintext, const std::string& key)
{
    const std::string iv = "twelve bytes";
    std::string ciphertext(plaintext.size(), '\0');
    std::string tag(16, '\0');
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    int size = 0;
    EVP_EncryptInit_ex(
        context, EVP_aes_256_gcm(), nullptr, reinterpret_cast<const unsigned char*>(key.data()),
        reinterpret_cast<const unsigned char*>(iv.data()));
    EVP_EncryptUpdate(
        context, reinterpret_cast<unsigned char*>(ciphertext.data()), &size,
        reinterpret_cast<const unsigned char*>(plaintext.data()),
        static_cast<int>(plaintext.size()));
    EVP_EncryptFinal_ex(context, nullptr, &size);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_AEAD_GET_TAG, 16, tag.data());
    EVP_CIPHER_CTX_free(context);
    return iv + ciphertext + tag;
}

} // namespace tavo::vms_server_plugins::analytics::orlix::test
