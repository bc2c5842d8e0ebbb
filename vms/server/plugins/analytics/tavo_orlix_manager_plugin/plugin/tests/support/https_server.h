#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>

#include <httplib.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A certificate for "localhost" that vouches for itself and that no system knows.
class SelfSignedCertificate
{
public:
    SelfSignedCertificate() :
        m_key(EVP_EC_gen("P-256")),
        m_certificate(X509_new())
    {
        X509_set_version(m_certificate, X509_VERSION_3);
        ASN1_INTEGER_set(X509_get_serialNumber(m_certificate), 1);
        X509_gmtime_adj(X509_getm_notBefore(m_certificate), -60);
        X509_gmtime_adj(X509_getm_notAfter(m_certificate), 3600);
        X509_NAME* const name = X509_get_subject_name(m_certificate);
        X509_NAME_add_entry_by_txt(
            name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"), -1, -1,
            0);
        X509_set_issuer_name(m_certificate, name);
        X509_set_pubkey(m_certificate, m_key);
        addExtension(NID_subject_alt_name, "DNS:localhost");
        addExtension(NID_basic_constraints, "critical,CA:TRUE");
        if (X509_sign(m_certificate, m_key, EVP_sha256()) <= 0)
            throw std::runtime_error("no certificate");
        std::FILE* const file = std::fopen(caFile().c_str(), "w");
        PEM_write_X509(file, m_certificate);
        std::fclose(file);
    }

    ~SelfSignedCertificate()
    {
        X509_free(m_certificate);
        EVP_PKEY_free(m_key);
    }

    SelfSignedCertificate(const SelfSignedCertificate&) = delete;
    SelfSignedCertificate& operator=(const SelfSignedCertificate&) = delete;

    [[nodiscard]] X509* get() const { return m_certificate; }
    [[nodiscard]] EVP_PKEY* key() const { return m_key; }

    // In PEM, for who is to trust it.
    [[nodiscard]] std::string caFile() const { return m_folder.path("ca.pem"); }

private:
    void addExtension(int nid, const char* value)
    {
        X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, nid, value);
        X509_add_ext(m_certificate, extension, -1);
        X509_EXTENSION_free(extension);
    }

    TemporaryFolder m_folder;
    EVP_PKEY* const m_key;
    X509* const m_certificate;
};

// As LoopbackHttpServer, over TLS, by the name "localhost".
class LoopbackHttpsServer
{
public:
    explicit LoopbackHttpsServer(const SelfSignedCertificate& certificate) :
        handlers(certificate.get(), certificate.key())
    {}

    ~LoopbackHttpsServer()
    {
        handlers.stop();
        if (m_thread.joinable())
            m_thread.join();
    }

    void start()
    {
        m_port = handlers.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this]() { handlers.listen_after_bind(); });
        while (!handlers.is_running())
            std::this_thread::yield();
    }

    [[nodiscard]] std::string url(const std::string& path) const
    {
        return "https://localhost:" + std::to_string(m_port) + path;
    }

    httplib::SSLServer handlers;

private:
    int m_port = 0;
    std::thread m_thread;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
