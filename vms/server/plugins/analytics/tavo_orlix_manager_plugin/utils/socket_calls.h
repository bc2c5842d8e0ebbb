#pragma once

#include <cstddef>

#include "utils/sockets.h"

// What the frame record needs of the system: single calls, which may do less than was asked for.

namespace tavo::vms_server_plugins::analytics::orlix
{

struct Transferred
{
    enum class Status
    {
        done, // `count` bytes; of a receive, 0 means that the peer has ended
        timedOut,
        interrupted, // nothing happened; to be called again
        waitFailed, // the wait itself failed; the system's error tells why
        failed, // the system's error tells why
    };

    Status status;
    std::size_t count = 0;
};

inline constexpr int kSocketTimeoutMs = socket_timeout.seconds * 1000;

// Waits for a connection as socket_accept_message does, without receiving anything. Where `place`
// is sole, receives on it may wait for less than kSocketTimeoutMs only.
[[nodiscard]] SocketHandle socket_accept(SocketHandle listeningSocket, MessagePlace place);

// `timeoutMs` is at most kSocketTimeoutMs. Where it is that, or 0, a receive costs one call of the
// system.
[[nodiscard]] Transferred socket_receive_some(
    SocketHandle socket, void* target, std::size_t size, int timeoutMs);

// Sends the first part, then the second, with one call.
[[nodiscard]] Transferred socket_send_some(
    SocketHandle socket, std::span<const char> first, std::span<const char> second, int timeoutMs);

} // namespace tavo::vms_server_plugins::analytics::orlix
