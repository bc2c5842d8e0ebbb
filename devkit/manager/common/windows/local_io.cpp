#include "common/local_io.h"

#include <vector>

#include <winsock2.h>

namespace tavo::devkit
{

void wait_for_any(std::span<WatchedSocket> sockets, int timeoutMs)
{
    thread_local std::vector<WSAPOLLFD> polled;
    polled.clear();
    for (const WatchedSocket& watched : sockets)
        polled.push_back({static_cast<SOCKET>(watched.socket), POLLRDNORM, 0});
    const int ready = WSAPoll(polled.data(), static_cast<ULONG>(polled.size()), timeoutMs);
    // One that is no socket is never ready, as with poll; it may be marked as wrong here.
    for (std::size_t i = 0; i < sockets.size(); ++i)
    {
        sockets[i].isReady =
            ready > 0 && polled[i].revents != 0 && sockets[i].socket != kInvalidSocket;
    }
}

void set_non_blocking(SocketHandle socket)
{
    u_long isNonBlocking = 1;
    ioctlsocket(static_cast<SOCKET>(socket), FIONBIO, &isNonBlocking);
}

SocketHandle accept_waiting(SocketHandle listeningSocket)
{
    const SOCKET accepted = accept(static_cast<SOCKET>(listeningSocket), nullptr, nullptr);
    if (accepted == INVALID_SOCKET)
        return kInvalidSocket;
    const auto socket = static_cast<SocketHandle>(accepted);
    set_non_blocking(socket);
    return socket;
}

Received receive_arrived(SocketHandle socket, std::span<char> room, std::size_t& count)
{
    const int result =
        recv(static_cast<SOCKET>(socket), room.data(), static_cast<int>(room.size()), /*flags*/ 0);
    if (result > 0)
    {
        count = static_cast<std::size_t>(result);
        return Received::bytes;
    }
    return result < 0 && WSAGetLastError() == WSAEWOULDBLOCK ? Received::nothing : Received::end;
}

} // namespace tavo::devkit
