#include "testing/scripted_server.h"

namespace tavo::test_support
{

namespace
{

constexpr int kListenerTickMs = 20;
constexpr int kCloseTimeoutMs = 20'000;

} // namespace

std::string Connection::readRequest()
{
    std::string request;
    size_t wanted = std::string::npos;
    char block[16384];
    while (request.size() < wanted)
    {
        const size_t count = m_socket.receive(block, sizeof(block));
        if (count == 0)
            break;
        request.append(block, count);
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

bool Connection::waitForClose()
{
    char block[4096];
    while (m_socket.waitForInput(kCloseTimeoutMs))
    {
        if (m_socket.receive(block, sizeof(block)) == 0)
            return true;
    }
    return false;
}

ScriptedServer::ScriptedServer(Script script) :
    m_script(std::move(script))
{
    m_thread = std::thread([this] { run(); });
}

ScriptedServer::~ScriptedServer()
{
    m_isStopped = true;
    m_thread.join();
}

std::string ScriptedServer::url(const std::string& path) const
{
    return "http://localhost:" + std::to_string(m_listener.port()) + path;
}

void ScriptedServer::run()
{
    while (!m_isStopped)
    {
        if (auto socket = m_listener.accept(kListenerTickMs))
        {
            Connection connection(std::move(socket));
            m_script(connection);
        }
    }
}

} // namespace tavo::test_support
