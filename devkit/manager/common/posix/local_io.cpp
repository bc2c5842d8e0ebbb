#include "common/local_io.h"

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

namespace tavo::devkit
{

void wait_for_any(std::span<WatchedSocket> sockets, int timeoutMs)
{
    thread_local std::vector<pollfd> polled;
    polled.clear();
    for (const WatchedSocket& watched : sockets)
        polled.push_back({static_cast<int>(watched.socket), POLLIN, 0});
    const int ready = poll(polled.data(), polled.size(), timeoutMs);
    for (std::size_t i = 0; i < sockets.size(); ++i)
        sockets[i].isReady = ready > 0 && polled[i].revents != 0;
}

void set_non_blocking(SocketHandle socket)
{
    const int descriptor = static_cast<int>(socket);
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

SocketHandle accept_waiting(SocketHandle listeningSocket)
{
    for (;;)
    {
        const int accepted = accept4(
            static_cast<int>(listeningSocket), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (accepted < 0)
            return kInvalidSocket;
        const auto socket = static_cast<SocketHandle>(accepted);
        if (vms_server_plugins::analytics::orlix::socket_peer_is_trusted(socket))
            return socket;
        vms_server_plugins::analytics::orlix::socket_close(socket);
    }
}

Received receive_arrived(SocketHandle socket, std::span<char> room, std::size_t& count)
{
    const ssize_t result = recv(static_cast<int>(socket), room.data(), room.size(), MSG_DONTWAIT);
    if (result > 0)
    {
        count = static_cast<std::size_t>(result);
        return Received::bytes;
    }
    if (result < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
        return Received::nothing;
    return Received::end;
}

} // namespace tavo::devkit
