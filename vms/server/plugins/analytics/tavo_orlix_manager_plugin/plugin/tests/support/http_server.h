#pragma once

#include <cstdio>
#include <memory>
#include <thread>

#include <httplib.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A real HTTP server on a free port of the loopback interface, for as long as a test needs it. Set
// its handlers up first, then start it.
class LoopbackHttpServer
{
public:
    httplib::Server& handlers;

    LoopbackHttpServer() :
        LoopbackHttpServer(std::make_unique<httplib::Server>(), "http://127.0.0.1:")
    {}

    ~LoopbackHttpServer()
    {
        handlers.stop();
        if (m_thread.joinable())
            m_thread.join();
    }

    void start()
    {
        m_base += std::to_string(handlers.bind_to_any_port("127.0.0.1"));
        m_thread = std::thread([this]() { handlers.listen_after_bind(); });
        while (!handlers.is_running())
            std::this_thread::yield();
        if (m_base.starts_with("http:"))
            refuseOne();
    }

    [[nodiscard]] std::string url(const std::string& path) const { return m_base + path; }

protected:
    LoopbackHttpServer(std::unique_ptr<httplib::Server> server, const char* base) :
        handlers(*server),
        m_server(std::move(server)),
        m_base(base)
    {}

private:
    // What the library makes for its first request, it looks at later in a way that the thread
    // sanitizer does not see: so this one comes before all others. No handler hears of it.
    void refuseOne()
    {
        httplib::Request request;
        request.method = "NONE";
        request.path = "/";
        httplib::Client(m_base).send(request);
    }

    std::unique_ptr<httplib::Server> m_server;
    std::string m_base;
    std::thread m_thread;
};

// A certificate for "localhost" that vouches for itself and that no system knows.
class SelfSignedCertificate
{
public:
    SelfSignedCertificate()
    {
        X509_gmtime_adj(X509_getm_notBefore(get()), -60);
        X509_gmtime_adj(X509_getm_notAfter(get()), 3600);
        X509_NAME* const name = X509_get_subject_name(get());
        X509_NAME_add_entry_by_NID(
            name, NID_commonName, MBSTRING_ASC, reinterpret_cast<const std::uint8_t*>("localhost"),
            -1, -1, 0);
        X509_set_issuer_name(get(), name);
        X509_set_pubkey(get(), key());
        X509_sign(get(), key(), EVP_sha256());
        const std::shared_ptr<std::FILE> file(std::fopen(caFile().c_str(), "we"), std::fclose);
        if (!PEM_write_X509(file.get(), get()))
            throw std::runtime_error("no certificate");
    }

    [[nodiscard]] X509* get() const { return m_certificate.get(); }
    [[nodiscard]] EVP_PKEY* key() const { return m_key.get(); }

    // In PEM, for who is to trust it.
    [[nodiscard]] std::string caFile() const { return m_folder.path("ca.pem"); }

private:
    TemporaryFolder m_folder;
    const std::shared_ptr<EVP_PKEY> m_key{EVP_EC_gen("P-256"), EVP_PKEY_free};
    const std::shared_ptr<X509> m_certificate{X509_new(), X509_free};
};

// As LoopbackHttpServer, over TLS, by the name "localhost".
class LoopbackHttpsServer : public LoopbackHttpServer
{
public:
    explicit LoopbackHttpsServer(const SelfSignedCertificate& certificate) :
        LoopbackHttpServer(
            std::make_unique<httplib::SSLServer>(certificate.get(), certificate.key()),
            "https://localhost:")
    {}
};

} // namespace tavo::vms_server_plugins::analytics::orlix
