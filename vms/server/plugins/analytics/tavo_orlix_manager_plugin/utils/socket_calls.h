#pragma once

#include <cstddef>

#include "utils/sockets.h"

// What sockets need of the system: single calls, which may do less than was asked for. A failure
// leaves its reason in last_socket_error().

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

// A local stream socket that no child inherits.
[[nodiscard]] SocketHandle socket_new();

enum class SocketWait
{
    receive,
    send,
};

// Bounds every wait of that kind on the socket by socket_timeout.
[[nodiscard]] bool socket_set_timeout(SocketHandle socket, SocketWait wait);

// Of the path as much counts as fits an address.
[[nodiscard]] bool socket_connect_to(SocketHandle socket, const std::string& path);
[[nodiscard]] bool socket_bind_to(SocketHandle socket, const std::string& path);
[[nodiscard]] bool socket_start_listening(SocketHandle socket);

// Nobody listens at the path, at which there is a socket's file.
[[nodiscard]] bool socket_is_refused(const std::string& path);

// Removes what would be in the way of a bind: the socket of an earlier run, or an empty folder. A
// folder is not looked into: what is in it is somebody's.
void socket_clear_path(const std::string& path);

// Blank if there is no such file.
[[nodiscard]] SocketFile socket_file_at(const std::string& path);

void socket_set_last_error(int systemError);

// Waits for a connection as socket_accept_message does, without receiving anything, and whoever it
// is from. Where `place` is sole, receives on it may wait for less than kSocketTimeoutMs only.
[[nodiscard]] SocketHandle socket_accept(SocketHandle listeningSocket, MessagePlace place);

// `timeoutMs` is at most kSocketTimeoutMs. Where it is that, or 0, a receive costs one call of the
// system.
[[nodiscard]] Transferred socket_receive_some(
    SocketHandle socket, void* target, std::size_t size, int timeoutMs);

// Sends the first part, then the second, with one call.
[[nodiscard]] Transferred socket_send_some(
    SocketHandle socket, std::span<const char> first, std::span<const char> second, int timeoutMs);

} // namespace tavo::vms_server_plugins::analytics::orlix
