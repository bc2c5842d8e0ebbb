#include "utils/sockets.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "utils/deadline.h"
#include "utils/log_rarely.h"
#include "utils/socket_calls.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using Status = Transferred::Status;

constexpr timeval kTimeout{socket_timeout.seconds, socket_timeout.microseconds};

int descriptorOf(SocketHandle socket)
{
    return static_cast<int>(socket);
}

SocketHandle handleOf(int descriptor)
{
    return descriptor < 0 ? kInvalidSocket : static_cast<SocketHandle>(descriptor);
}

// As much of the path as an address holds beside its terminator.
sockaddr_un addressOf(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::size_t size = std::min(path.find('\0'), path.size());
    std::memcpy(address.sun_path, path.data(), std::min(size, sizeof address.sun_path - 1));
    return address;
}

// The whole address is passed in all cases; the path in it ends with its terminator.
const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

// Waits for less than the socket's own time-outs.
Transferred waitFor(int descriptor, short events, int timeoutMs)
{
    pollfd polled{descriptor, events, 0};
    const int ready = poll(&polled, 1, timeoutMs);
    if (ready > 0)
        return {Status::done};
    if (ready == 0)
        return {Status::timedOut};
    return {errno == EINTR ? Status::interrupted : Status::waitFailed};
}

Transferred transferred(ssize_t count)
{
    if (count >= 0)
        return {Status::done, static_cast<std::size_t>(count)};
    if (errno == EAGAIN)
        return {Status::timedOut};
    return {errno == EINTR ? Status::interrupted : Status::failed};
}

bool isShortage(int error)
{
    constexpr std::array kShortages{EMFILE, ENFILE, ENOBUFS, ENOMEM};
    return std::ranges::find(kShortages, error) != kShortages.end();
}

} // namespace

SocketHandle socket_new()
{
    return handleOf(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

bool socket_set_timeout(SocketHandle socket, SocketWait wait)
{
    const int option = wait == SocketWait::receive ? SO_RCVTIMEO : SO_SNDTIMEO;
    return setsockopt(descriptorOf(socket), SOL_SOCKET, option, &kTimeout, sizeof kTimeout) == 0;
}

// A connection that a signal interrupts was not made: there was no room in the listener's queue.
bool socket_connect_to(SocketHandle socket, const std::string& path)
{
    const sockaddr_un address = addressOf(path);
    const Deadline deadline(kSocketTimeoutMs);
    while (connect(descriptorOf(socket), generic(address), sizeof address) != 0)
    {
        if (errno != EINTR || deadline.hasPassed())
            return false;
    }
    return true;
}

// The file that a bind makes has the socket's own mode, as far as the umask leaves it.
bool socket_bind_to(SocketHandle socket, const std::string& path)
{
    const int descriptor = descriptorOf(socket);
    const sockaddr_un address = addressOf(path);
    return fchmod(descriptor, S_IRUSR | S_IWUSR) == 0 &&
        bind(descriptor, generic(address), sizeof address) == 0;
}

bool socket_start_listening(SocketHandle socket)
{
    return listen(descriptorOf(socket), 0x7fffffff) == 0;
}

bool socket_is_refused(const std::string& path)
{
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0)
        return false;
    const sockaddr_un address = addressOf(path);
    const bool isRefused =
        connect(descriptor, generic(address), sizeof address) != 0 && errno == ECONNREFUSED;
    close(descriptor);
    return isRefused;
}

void socket_clear_path(const std::string& path)
{
    const sockaddr_un address = addressOf(path);
    if (unlink(address.sun_path) != 0 && (errno == EISDIR || errno == EPERM))
        rmdir(address.sun_path);
}

SocketFile socket_file_at(const std::string& path)
{
    struct stat status = {};
    if (lstat(addressOf(path).sun_path, &status) != 0)
        return {};
    return {status.st_dev, status.st_ino};
}

void socket_set_last_error(int systemError)
{
    errno = systemError;
}

bool socket_peer_is_trusted(SocketHandle socket)
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    if (getsockopt(descriptorOf(socket), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
        (peer.uid == 0 || peer.uid == geteuid()))
    {
        return true;
    }
    errno = EACCES;
    return false;
}

SocketHandle socket_accept(SocketHandle listeningSocket, MessagePlace place)
{
    // The socket's own time-out bounds the wait, and its shutdown ends it.
    const int descriptor = descriptorOf(listeningSocket);
    const int accepted = accept4(descriptor, nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted >= 0)
    {
        // Not inherited; a send looks after itself.
        if (place != MessagePlace::sole)
            static_cast<void>(socket_set_timeout(handleOf(accepted), SocketWait::receive));
        return handleOf(accepted);
    }
    const int error = errno;
    if (error == EAGAIN || error == EINTR)
    {
        errno = ETIMEDOUT;
    }
    else if (error != EINVAL && error != EBADF) // shut down or closed otherwise
    {
        const SystemErrorText text(error);
        log_warning("", "Error: Accept failed: %.*s\n", text.length(), text.c_str());
        // The connection is still there, and would fail the next call at once: let a tick go by,
        // unless the socket is shut down meanwhile.
        if (isShortage(error))
            waitFor(descriptor, 0, kSocketTimeoutMs);
        errno = error;
    }
    return kInvalidSocket;
}

Transferred socket_receive_some(SocketHandle socket, void* target, std::size_t size, int timeoutMs)
{
    const int descriptor = descriptorOf(socket);
    if (timeoutMs >= kSocketTimeoutMs)
        return transferred(recv(descriptor, target, size, 0));
    if (timeoutMs > 0)
    {
        const Transferred waited = waitFor(descriptor, POLLIN, timeoutMs);
        if (waited.status != Status::done)
            return waited;
    }
    return transferred(recv(descriptor, target, size, MSG_DONTWAIT));
}

Transferred socket_send_some(
    SocketHandle socket, std::span<const char> first, std::span<const char> second, int timeoutMs)
{
    const int descriptor = descriptorOf(socket);
    iovec parts[2] = {
        {const_cast<char*>(first.data()), first.size()},
        {const_cast<char*>(second.data()), second.size()}};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    const auto sendSome = [&]()
    { return transferred(sendmsg(descriptor, &message, MSG_NOSIGNAL | MSG_DONTWAIT)); };
    const Transferred sent = sendSome();
    if (sent.status != Status::timedOut)
        return sent; // as nearly always: there is room for a message
    const Transferred waited = waitFor(descriptor, POLLOUT, timeoutMs);
    return waited.status == Status::done ? sendSome() : waited;
}

int socket_close(SocketHandle socket)
{
    return close(descriptorOf(socket));
}

void socket_shutdown(SocketHandle socket)
{
    shutdown(descriptorOf(socket), SHUT_RDWR);
}

void socket_unlink(const std::string& path)
{
    unlink(addressOf(path).sun_path);
}

int sockets_start()
{
    return 0;
}

int sockets_stop()
{
    return 0;
}

int socket_error_to_errno(int systemError)
{
    return systemError;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
