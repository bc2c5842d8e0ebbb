#pragma once

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A certificate of a test's own, that no system knows, with its key. It can vouch for others.
class TestCertificate
{
public:
    // Of a server by that name. Without an issuer it vouches for itself.
    explicit TestCertificate(
        const char* name = "localhost", const TestCertificate* issuer = nullptr,
        long secondsLeft = 3600)
    {
        X509_set_version(get(), X509_VERSION_3);
        X509_gmtime_adj(X509_getm_notBefore(get()), -7200);
        X509_gmtime_adj(X509_getm_notAfter(get()), secondsLeft);
        X509_NAME_add_entry_by_NID(
            X509_get_subject_name(get()), NID_commonName, MBSTRING_ASC,
            reinterpret_cast<const std::uint8_t*>(name), -1, -1, 0);
        add(NID_basic_constraints, "CA:TRUE");
        add(NID_subject_alt_name, std::string("DNS:") + name);
        X509_set_pubkey(get(), key());
        const TestCertificate& signer = issuer ? *issuer : *this;
        X509_set_issuer_name(get(), X509_get_subject_name(signer.get()));
        const std::shared_ptr<std::FILE> file(std::fopen(caFile().c_str(), "w"), std::fclose);
        if (X509_sign(get(), signer.key(), EVP_sha256()) == 0 || !PEM_write_X509(file.get(), get()))
            throw std::runtime_error("no certificate");
    }

    [[nodiscard]] X509* get() const { return m_certificate.get(); }
    [[nodiscard]] EVP_PKEY* key() const { return m_key.get(); }

    // In PEM, for who is to trust it.
    [[nodiscard]] std::string caFile() const { return m_folder.path("ca.pem"); }

private:
    void add(int kind, const std::string& value)
    {
        const std::shared_ptr<X509_EXTENSION> extension(
            X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()), X509_EXTENSION_free);
        X509_add_ext(get(), extension.get(), -1);
    }

    TemporaryFolder m_folder;
    const std::shared_ptr<EVP_PKEY> m_key{EVP_EC_gen("P-256"), EVP_PKEY_free};
    const std::shared_ptr<X509> m_certificate{X509_new(), X509_free};
};

} // namespace tavo::vms_server_plugins::analytics::orlix
