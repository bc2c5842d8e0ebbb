#include "testing/loopback_socket.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include <winsock2.h>

namespace tavo::test_support
{
namespace
{

using Name = int(WSAAPI*)(SOCKET, sockaddr*, int*);

SOCKET systemSocket(std::intptr_t socket)
{
    return static_cast<SOCKET>(socket);
}

int portOf(std::intptr_t socket, Name name)
{
    sockaddr_in address = {};
    int size = sizeof address;
    name(systemSocket(socket), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

} // namespace

LoopbackSocket LoopbackSocket::listening()
{
    WSADATA data = {};
    WSAStartup(MAKEWORD(2, 2), &data); // counted, and ended with the process
    const SOCKET created = WSASocketW(
        AF_INET, SOCK_STREAM, 0, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    LoopbackSocket socket(static_cast<std::intptr_t>(created));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(created, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(created, 8) != 0)
    {
        throw std::runtime_error("no listening socket");
    }
    return socket;
}

LoopbackSocket::~LoopbackSocket()
{
    if (m_socket != kNone)
        closesocket(systemSocket(m_socket));
}

LoopbackSocket::LoopbackSocket(LoopbackSocket&& other) noexcept :
    m_socket(std::exchange(other.m_socket, kNone))
{}

LoopbackSocket LoopbackSocket::accept(int timeoutMs)
{
    if (!waitForInput(timeoutMs))
        return LoopbackSocket(kNone);
    return LoopbackSocket(
        static_cast<std::intptr_t>(::accept(systemSocket(m_socket), nullptr, nullptr)));
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
    WSAPOLLFD waiting{systemSocket(m_socket), POLLRDNORM, 0};
    return WSAPoll(&waiting, 1, timeoutMs) > 0;
}

std::size_t LoopbackSocket::receive(char* target, std::size_t size)
{
    const int count = recv(systemSocket(m_socket), target, static_cast<int>(size), 0);
    return static_cast<std::size_t>(std::max(count, 0));
}

bool LoopbackSocket::send(std::string_view bytes)
{
    while (!bytes.empty())
    {
        const int count =
            ::send(systemSocket(m_socket), bytes.data(), static_cast<int>(bytes.size()), 0);
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace tavo::test_support
