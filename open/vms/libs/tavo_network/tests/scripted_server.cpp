#include "scripted_server.h"

#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavo::network::test
{

namespace
{

constexpr int kListenerTimeoutMs = 200;
constexpr int kCloseTimeoutMs = 20'000;

} // namespace

std::string Connection::readRequest()
{
    std::string request;
    size_t wanted = std::string::npos;
    char block[16384];
    while (request.size() < wanted)
    {
        const ssize_t count = recv(m_descriptor, block, sizeof(block), 0);
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
        const ssize_t count = send(m_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

bool Connection::waitForClose()
{
    pollfd waiting{m_descriptor, POLLIN, 0};
    char block[4096];
    while (poll(&waiting, 1, kCloseTimeoutMs) > 0)
    {
        if (recv(m_descriptor, block, sizeof(block), 0) <= 0)
            return true;
    }
    return false;
}

int Connection::clientPort() const
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    getpeername(m_descriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

ScriptedServer::ScriptedServer(Script script) :
    m_script(std::move(script))
{
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (bind(m_listener, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        listen(m_listener, 8) != 0)
        throw std::runtime_error("no listening socket");
    getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

ScriptedServer::~ScriptedServer()
{
    shutdown(m_listener, SHUT_RDWR);
    m_thread.join();
    close(m_listener);
}

std::string ScriptedServer::url(const std::string& path) const
{
    return "http://localhost:" + std::to_string(m_port) + path;
}

void ScriptedServer::run()
{
    pollfd waiting{m_listener, POLLIN, 0};
    while (poll(&waiting, 1, kListenerTimeoutMs) >= 0 && !(waiting.revents & POLLHUP))
    {
        const int descriptor = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0)
            continue;
        Connection connection(descriptor);
        m_script(connection);
        close(descriptor);
    }
}

} // namespace tavo::network::test
