// A server on loopback whose every connection runs a test's script.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace tavo::network::test
{

class Connection
{
public:
    explicit Connection(int descriptor) :
        m_descriptor(descriptor)
    {}

    // The head and as much of the body as its Content-Length tells.
    std::string readRequest();

    // False once the client is gone.
    bool write(std::string_view bytes);

    // False when the client has not closed in a long while, so that a test ends all the same.
    bool waitForClose();

    int clientPort() const;

private:
    const int m_descriptor;
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
    int m_listener = -1;
    int m_port = 0;
    std::thread m_thread;
};

} // namespace tavo::network::test
