#include "scripted_server.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavo::network::test
{

namespace
{

constexpr int kListenerTimeoutMs = 200;

sockaddr_in loopback()
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::string textOf(BIO* bio)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    std::string text(data, static_cast<size_t>(size));
    BIO_free(bio);
    return text;
}

template <class T, class Read>
T* parsePem(const std::string& pem, Read read)
{
    BIO* const bio = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
    T* const result = read(bio, nullptr, nullptr, nullptr);
    BIO_free(bio);
    return result;
}

} // namespace

Identity makeIdentity()
{
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    X509* const certificate = X509_new();
    X509_set_version(certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    X509_set_pubkey(certificate, key);
    X509_NAME* const name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(
        name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"), -1, -1, 0);
    X509_set_issuer_name(certificate, name);
    for (const auto& [nid, value] :
         {std::pair(NID_subject_alt_name, "DNS:localhost"),
          std::pair(NID_basic_constraints, "critical,CA:TRUE")})
    {
        X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, nid, value);
        X509_add_ext(certificate, extension, -1);
        X509_EXTENSION_free(extension);
    }
    X509_sign(certificate, key, EVP_sha256());

    BIO* const certificateBio = BIO_new(BIO_s_mem());
    BIO* const keyBio = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(certificateBio, certificate);
    PEM_write_bio_PrivateKey(keyBio, key, nullptr, nullptr, 0, nullptr, nullptr);
    X509_free(certificate);
    EVP_PKEY_free(key);
    return {textOf(certificateBio), textOf(keyBio)};
}

int Connection::read(char* bytes, int size)
{
    return m_tls ? SSL_read(m_tls, bytes, size)
                 : static_cast<int>(recv(m_descriptor, bytes, static_cast<size_t>(size), 0));
}

std::string Connection::readRequest()
{
    std::string request;
    size_t wanted = std::string::npos;
    char block[16384];
    while (request.size() < wanted)
    {
        const int count = read(block, sizeof(block));
        if (count <= 0)
            break;
        request.append(block, static_cast<size_t>(count));
        const size_t headEnd = request.find("\r\n\r\n");
        if (wanted == std::string::npos && headEnd != std::string::npos)
        {
            constexpr std::string_view kLength = "Content-Length: ";
            const size_t length = request.find(kLength);
            wanted = headEnd + 4 +
                (length < headEnd ? std::stoul(request.substr(length + kLength.size())) : 0);
        }
    }
    return request;
}

bool Connection::write(std::string_view bytes)
{
    while (!bytes.empty())
    {
        const int piece = static_cast<int>(std::min<size_t>(bytes.size(), 65536));
        const int count = m_tls
            ? SSL_write(m_tls, bytes.data(), piece)
            : static_cast<int>(
                  send(m_descriptor, bytes.data(), static_cast<size_t>(piece), MSG_NOSIGNAL));
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

size_t Connection::writeUntilFull(size_t size)
{
    constexpr int kFullForMs = 300;
    const std::string block(65536, 'x');
    size_t sent = 0;
    while (sent < size)
    {
        pollfd waiting{m_descriptor, POLLOUT, 0};
        if (poll(&waiting, 1, kFullForMs) != 1)
            break;
        const ssize_t count = send(
            m_descriptor, block.data(), std::min(block.size(), size - sent),
            MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0)
            break;
        sent += static_cast<size_t>(count);
    }
    return sent;
}

void Connection::resetAtClose()
{
    const linger abort{1, 0};
    setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &abort, sizeof(abort));
}

void Connection::waitForClose()
{
    char byte = 0;
    while (read(&byte, 1) > 0)
    {}
}

int Connection::clientPort() const
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    getpeername(m_descriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

ScriptedServer::ScriptedServer(Script script, const Identity* identity) :
    m_script(std::move(script))
{
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in address = loopback();
    socklen_t size = sizeof(address);
    if (bind(m_listener, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        listen(m_listener, 8) != 0)
        throw std::runtime_error("no listening socket");
    getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);

    if (identity)
    {
        m_tlsContext = SSL_CTX_new(TLS_server_method());
        X509* const certificate = parsePem<X509>(identity->certificate, PEM_read_bio_X509);
        EVP_PKEY* const key = parsePem<EVP_PKEY>(identity->key, PEM_read_bio_PrivateKey);
        SSL_CTX_use_certificate(m_tlsContext, certificate);
        SSL_CTX_use_PrivateKey(m_tlsContext, key);
        X509_free(certificate);
        EVP_PKEY_free(key);
    }
    m_thread = std::thread([this] { run(); });
}

ScriptedServer::~ScriptedServer()
{
    shutdown(m_listener, SHUT_RDWR);
    m_thread.join();
    close(m_listener);
    SSL_CTX_free(m_tlsContext);
}

std::string ScriptedServer::url(const std::string& path, const std::string& host) const
{
    return (m_tlsContext ? "https://" : "http://") + host + ":" + std::to_string(m_port) + path;
}

void ScriptedServer::run()
{
    // The client must do without this; OpenSSL on this side cannot.
    sigset_t sigpipe;
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);

    pollfd waiting{m_listener, POLLIN, 0};
    while (poll(&waiting, 1, kListenerTimeoutMs) >= 0 && !(waiting.revents & POLLHUP))
    {
        const int descriptor = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0)
            continue;
        serve(descriptor);
        close(descriptor);
    }
}

void ScriptedServer::serve(int descriptor)
{
    ++m_connectionCount;
    SSL* const tls = m_tlsContext ? SSL_new(m_tlsContext) : nullptr;
    if (tls)
        SSL_set_fd(tls, descriptor);
    if (!tls || SSL_accept(tls) == 1)
    {
        Connection connection(descriptor, tls);
        m_script(connection);
    }
    if (tls)
        SSL_shutdown(tls);
    SSL_free(tls);
}

} // namespace tavo::network::test
