#include <sys/socket.h>

#include "counting.h"

using namespace tavo::failing_calls;

// NOLINTBEGIN(bugprone-macro-parentheses): a list of arguments has its own
#define TAVO_CALL(kind, type, name, parameters, arguments)                                         \
    extern "C" type name parameters                                                                \
    {                                                                                              \
        return fails(Kind::kind) ? -1 : TAVO_NEXT(name) arguments;                                 \
    }
// NOLINTEND(bugprone-macro-parentheses)

TAVO_CALL(
    socket, int, socket, (int domain, int type, int protocol) noexcept, (domain, type, protocol))
TAVO_CALL(
    socket, int, socketpair, (int domain, int type, int protocol, int* ends) noexcept,
    (domain, type, protocol, ends))
TAVO_CALL(
    socket, int, bind, (int socket, const sockaddr* address, socklen_t size) noexcept,
    (socket, address, size))
TAVO_CALL(socket, int, listen, (int socket, int backlog) noexcept, (socket, backlog))
TAVO_CALL(
    connect, int, connect, (int socket, const sockaddr* address, socklen_t size),
    (socket, address, size))

TAVO_CALL(
    send, ssize_t, send, (int socket, const void* bytes, size_t size, int flags),
    (socket, bytes, size, flags))
TAVO_CALL(
    send, ssize_t, sendto,
    (int socket, const void* bytes, size_t size, int flags, const sockaddr* address,
     socklen_t addressSize),
    (socket, bytes, size, flags, address, addressSize))
TAVO_CALL(
    send, ssize_t, sendmsg, (int socket, const msghdr* message, int flags),
    (socket, message, flags))

TAVO_CALL(
    receive, ssize_t, recv, (int socket, void* bytes, size_t size, int flags),
    (socket, bytes, size, flags))
TAVO_CALL(
    receive, ssize_t, recvfrom,
    (int socket, void* bytes, size_t size, int flags, sockaddr* address, socklen_t* addressSize),
    (socket, bytes, size, flags, address, addressSize))
TAVO_CALL(
    receive, ssize_t, recvmsg, (int socket, msghdr* message, int flags), (socket, message, flags))

TAVO_CALL(
    accept, int, accept, (int socket, sockaddr* address, socklen_t* size), (socket, address, size))
TAVO_CALL(
    accept, int, accept4, (int socket, sockaddr* address, socklen_t* size, int flags),
    (socket, address, size, flags))
