// Keys and signatures of orlix_crypto.h.

#include "models/orlix_crypto.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

bool isValid(KeySelection selection)
{
    if (selection == KeySelection::privateKey || selection == KeySelection::publicKey)
        return true;
    log_error("Invalid 'selection' value.\n");
    return false;
}

} // namespace

void KeyDeleter::operator()(evp_pkey_st* key) const
{
    EVP_PKEY_free(key);
}

Key generateEcKey()
{
    return Key(EVP_EC_gen("P-256"));
}

Key loadKey(const Bytes& der, KeySelection selection)
{
    if (!isValid(selection))
        return nullptr;
    const unsigned char* at = der.data();
    const auto size = static_cast<long>(der.size());
    EVP_PKEY* const key = selection == KeySelection::privateKey
        ? d2i_PrivateKey(EVP_PKEY_EC, nullptr, &at, size)
        : d2i_PUBKEY(nullptr, &at, size);
    if (!key)
        log_error("Failed to load key.\n");
    return Key(key);
}

std::optional<Bytes> encodeKey(const Key& key, KeySelection selection)
{
    if (!isValid(selection))
        return std::nullopt;
    const auto encode = selection == KeySelection::privateKey ? &i2d_PrivateKey : &i2d_PUBKEY;
    unsigned char* der = nullptr;
    const int size = key ? encode(key.get(), &der) : -1;
    if (size <= 0)
    {
        log_error("Key encoding failed\n");
        return std::nullopt;
    }
    Bytes bytes(der, der + size);
    OPENSSL_clear_free(der, static_cast<std::size_t>(size));
    return bytes;
}

std::optional<Bytes> signSha256(const Key& privateKey, std::string_view data)
{
    const auto failed = [](const char* text) -> std::optional<Bytes>
    {
        log_error("%s", text);
        return std::nullopt;
    };
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(
        EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!context)
        return failed("EVP_MD_CTX_new failed.\n");
    const EVP_MD* const digest = EVP_sha256();
    if (!digest)
        return failed("Could not load SHA256 digest algorithm!\n");
    if (EVP_DigestSignInit(context.get(), nullptr, digest, nullptr, privateKey.get()) != 1)
        return failed("EVP_DigestSignInit failed.\n");
    if (EVP_DigestSignUpdate(context.get(), data.data(), data.size()) != 1)
        return failed("EVP_DigestSignUpdate failed.\n");
    std::size_t size = 0;
    if (EVP_DigestSignFinal(context.get(), nullptr, &size) != 1)
        return failed("EVP_DigestSignFinal failed.\n");
    if (size == 0)
        return failed("EVP_DigestSignFinal returned invalid signature length.\n");
    Bytes signature(size);
    if (EVP_DigestSignFinal(context.get(), signature.data(), &size) != 1)
        return failed("EVP_DigestSignFinal failed.\n");
    signature.resize(size);
    return signature;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
