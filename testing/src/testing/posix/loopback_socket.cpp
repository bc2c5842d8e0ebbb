#include "testing/loopback_socket.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tavo::test_support
{
namespace
{

using Name = int (*)(int, sockaddr*, socklen_t*);

int portOf(std::intptr_t socket, Name name)
{
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    name(static_cast<int>(socket), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

} // namespace

LoopbackSocket LoopbackSocket::listening()
{
    LoopbackSocket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int descriptor = static_cast<int>(socket.m_socket);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(descriptor, 8) != 0)
    {
        throw std::runtime_error("no listening socket");
    }
    return socket;
}

LoopbackSocket::~LoopbackSocket()
{
    if (m_socket != kNone)
        close(static_cast<int>(m_socket));
}

LoopbackSocket::LoopbackSocket(LoopbackSocket&& other) noexcept :
    m_socket(std::exchange(other.m_socket, kNone))
{}

LoopbackSocket LoopbackSocket::accept(int timeoutMs)
{
    if (!waitForInput(timeoutMs))
        return LoopbackSocket(kNone);
    return LoopbackSocket(accept4(static_cast<int>(m_socket), nullptr, nullptr, SOCK_CLOEXEC));
}

int LoopbackSocket::port() const
{
    return portOf(m_socket, getsockname);
}

int LoopbackSocket::peerPort() const
{
    return portOf(m_socket, getpeername);
}

bool LoopbackSocket::waitForInput(int timeoutMs) const
{
    pollfd waiting{static_cast<int>(m_socket), POLLIN, 0};
    return poll(&waiting, 1, timeoutMs) > 0;
}

std::size_t LoopbackSocket::receive(char* target, std::size_t size)
{
    const ssize_t count = recv(static_cast<int>(m_socket), target, size, 0);
    return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
}

bool LoopbackSocket::send(std::string_view bytes)
{
    while (!bytes.empty())
    {
        const ssize_t count =
            ::send(static_cast<int>(m_socket), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace tavo::test_support
