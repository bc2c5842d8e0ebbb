#pragma once

#include <cstddef>
#include <span>

#include "utils/sockets.h"

namespace tavo::devkit
{

using SocketHandle = vms_server_plugins::analytics::orlix::SocketHandle;
using vms_server_plugins::analytics::orlix::kInvalidSocket;

// What serving many local sockets on one thread needs beyond utils/sockets.h: waiting for any of
// them, and accepting and receiving without waiting. Nothing throws. Any thread may call.

struct WatchedSocket
{
    SocketHandle socket = kInvalidSocket;
    bool isReady = false; // something can be read or accepted, or the peer is gone
};

// Waits until one of the sockets is ready, for `timeoutMs` at most, and marks those that are.
// A signal ends the wait early with none.
void wait_for_any(std::span<WatchedSocket> sockets, int timeoutMs);

// From now on no operation on the socket waits: one that would have to fails instead.
void set_non_blocking(SocketHandle socket);

// The next connection of a listening socket that does not wait, made non-blocking itself; to be
// closed with socket_close. kInvalidSocket when there is none. One of another user is closed at
// once.
[[nodiscard]] SocketHandle accept_waiting(SocketHandle listeningSocket);

enum class Received
{
    bytes,
    nothing, // for now
    end, // the peer has closed, or the connection failed
};

// Puts what has arrived into `room`, which is not empty, and sets `count` to how much that is.
[[nodiscard]] Received receive_arrived(
    SocketHandle socket, std::span<char> room, std::size_t& count);

} // namespace tavo::devkit
