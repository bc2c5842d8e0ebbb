// A server on loopback whose every connection runs a test's script, over TCP or TLS.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

typedef struct ssl_ctx_st SSL_CTX;
typedef struct ssl_st SSL;

namespace tavo::network::test
{

// A self-signed certificate for "localhost" in PEM, and its key.
struct Identity
{
    std::string certificate;
    std::string key;
};

Identity makeIdentity();

class Connection
{
public:
    Connection(int descriptor, SSL* tls) :
        m_descriptor(descriptor),
        m_tls(tls)
    {}

    // The head and as much of the body as its Content-Length tells.
    std::string readRequest();

    // False once the client is gone.
    bool write(std::string_view bytes);

    // How much of `size` bytes goes out until the client takes no more of them for a while.
    size_t writeUntilFull(size_t size);

    // What follows is a reset and not a proper end.
    void resetAtClose();

    // Until the client closes.
    void waitForClose();

    int clientPort() const;

private:
    int read(char* bytes, int size);

    const int m_descriptor;
    SSL* const m_tls; // null over TCP
};

class ScriptedServer
{
public:
    using Script = std::function<void(Connection&)>;

    explicit ScriptedServer(Script script, const Identity* identity = nullptr);
    ~ScriptedServer();

    std::string url(const std::string& path = "/", const std::string& host = "localhost") const;
    int connectionCount() const { return m_connectionCount; }

private:
    void run();
    void serve(int descriptor);

    const Script m_script;
    SSL_CTX* m_tlsContext = nullptr;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<int> m_connectionCount = 0;
    std::thread m_thread;
};

} // namespace tavo::network::test
