// A server on loopback whose every connection runs a test's script.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include "testing/loopback_socket.h"

namespace tavo::test_support
{

class Connection
{
public:
    explicit Connection(LoopbackSocket socket) :
        m_socket(std::move(socket))
    {}

    // The head and as much of the body as its Content-Length tells.
    std::string readRequest();

    // False once the client is gone.
    bool write(std::string_view bytes) { return m_socket.send(bytes); }

    // False when the client has not closed in a long while, so that a test ends all the same.
    bool waitForClose();

    int clientPort() const { return m_socket.peerPort(); }

private:
    LoopbackSocket m_socket;
};

class ScriptedServer
{
public:
    using Script = std::function<void(Connection&)>;

    explicit ScriptedServer(Script script);
    ~ScriptedServer();

    std::string url(const std::string& path = "/") const;

private:
    void run();

    const Script m_script;
    LoopbackSocket m_listener = LoopbackSocket::listening();
    std::atomic<bool> m_isStopped{false};
    std::thread m_thread;
};

} // namespace tavo::test_support
