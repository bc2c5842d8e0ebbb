#include "utils/sockets.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "utils/deadline.h"
#include "utils/log.h"
#include "utils/log_rarely.h"
#include "utils/socket_calls.h"
#include "utils/system_error.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using Status = Transferred::Status;

constexpr std::size_t kHeaderSize = sizeof(std::uint32_t);

// Takes most messages other than frames whole.
constexpr std::size_t kReadAheadSize = 8 * 1024;

// What a message is received from.
struct Source
{
    SocketHandle socket;
    bool hasTimeout; // of its own, so that a wait is no call of its own
};

// Repeats an interrupted receive, within its own time-out and the message's deadline.
Transferred receiveSome(
    const Source& source, void* target, std::size_t size, const Deadline& messageDeadline)
{
    const int longestMs = source.hasTimeout ? kSocketTimeoutMs : kSocketTimeoutMs - 1;
    int timeoutMs = std::min(messageDeadline.remainingMs(), longestMs);
    if (timeoutMs == 0)
        return {Status::timedOut};
    if (!source.hasTimeout)
    {
        // Most messages are there before anybody asks for them.
        const Transferred arrived = socket_receive_some(source.socket, target, size, 0);
        if (arrived.status == Status::done || arrived.status == Status::failed)
            return arrived;
    }
    const Deadline deadline(timeoutMs);
    for (;;)
    {
        const Transferred received = socket_receive_some(source.socket, target, size, timeoutMs);
        if (received.status == Status::waitFailed)
        {
            const SystemErrorText error(last_socket_error());
            log_warning("", "Warning: Poll failed: %.*s\n", error.length(), error.c_str());
        }
        if (received.status != Status::interrupted)
            return received;
        timeoutMs = deadline.remainingMs();
    }
}

// False when the message ends here.
bool receiveBody(const Source& source, std::span<char> body, const Deadline& deadline)
{
    while (!body.empty())
    {
        const Transferred received = receiveSome(source, body.data(), body.size(), deadline);
        if (received.status != Status::done)
        {
            print_out("Warning: Error when receiving socket message!\n");
            return false;
        }
        if (received.count == 0)
            return false;
        body = body.subspan(received.count);
    }
    return true;
}

// Gives the bytes that came with the header, or -1.
std::ptrdiff_t receiveHeader(const Source& source, std::span<char> target, const Deadline& deadline)
{
    const Transferred received = receiveSome(source, target.data(), target.size(), deadline);
    if (received.status == Status::failed)
    {
        const SystemErrorText error(last_socket_error());
        log_warning(
            "", "Warning: Could not receive size of incoming message: %.*s\n", error.length(),
            error.c_str());
    }
    if (received.status != Status::done || received.count < kHeaderSize)
        return -1;
    return static_cast<std::ptrdiff_t>(received.count);
}

void receiveMessage(const Source& source, ReceiveBuffer& buffer, MessagePlace place)
{
    const Deadline deadline(kMessageDeadlineMs);
    char start[kReadAheadSize];
    const std::ptrdiff_t received = receiveHeader(
        source, {start, place == MessagePlace::sole ? kReadAheadSize : kHeaderSize}, deadline);
    if (received < 0)
        return;
    std::uint32_t size = 0;
    std::memcpy(&size, start, kHeaderSize);
    buffer.setAnnouncedSize(size);
    if (size == 0)
        return;
    if (size > buffer.capacity() && !buffer.grow(size))
    {
        print_out(
            "Error: Could not allocate buffer with length: %d. Ignoring message.\n",
            static_cast<int>(size));
        return;
    }
    const std::size_t ahead =
        std::min<std::size_t>(static_cast<std::size_t>(received) - kHeaderSize, size);
    std::memcpy(buffer.data(), start + kHeaderSize, ahead);
    receiveBody(source, {buffer.data() + ahead, size - ahead}, deadline);
}

// Logs why the last call has failed, and gives up on the socket. Leaves the reason where the caller
// looks, whatever logging does to it.
template <class Log>
SocketHandle giveUp(SocketHandle socket, Log log)
{
    const int error = last_socket_error();
    log(SystemErrorText(error));
    if (socket != kInvalidSocket)
        socket_close(socket);
    socket_set_last_error(error);
    return kInvalidSocket;
}

SocketHandle giveUpListening(SocketHandle socket, const char* what)
{
    return giveUp(
        socket,
        [what](const SystemErrorText& error)
        { log_info("Error: %s: %.*s\n", what, error.length(), error.c_str()); });
}

} // namespace

SocketHandle socket_connect(const std::string& path)
{
    const SocketHandle socket = socket_new();
    if (socket == kInvalidSocket)
    {
        log_warning("", "Warning: socket() creation failed\n");
        return kInvalidSocket;
    }
    static_cast<void>(socket_set_timeout(socket, SocketWait::send));
    static_cast<void>(socket_set_timeout(socket, SocketWait::receive));
    if (socket_connect_to(socket, path) && socket_peer_is_trusted(socket))
        return socket;
    return giveUp(
        socket,
        [&path](const SystemErrorText& error)
        {
            log_warning(
                path, "Warning: Connect to socket [%s] failed: %.*s\n", path.c_str(),
                error.length(), error.c_str());
        });
}

SocketHandle socket_listen(const std::string& path, SocketFile* file)
{
    socket_clear_path(path);
    const SocketHandle socket = socket_new();
    if (socket == kInvalidSocket)
        return giveUpListening(socket, "Sender socket error");
    if (!socket_bind_to(socket, path))
        return giveUpListening(socket, "Sender socket bind error");
    if (file)
        *file = socket_file_at(path);
    if (!socket_set_timeout(socket, SocketWait::receive))
        return giveUpListening(socket, "Failed to set receive timeout");
    if (!socket_set_timeout(socket, SocketWait::send))
        return giveUpListening(socket, "Failed to set send timeout");
    if (socket_start_listening(socket))
        return socket;
    const int error = socket_error_to_errno(last_socket_error());
    giveUp(
        socket, [](const SystemErrorText&) { log_info("Error: Sender socket listen error.\n"); });
    errno = error;
    return kInvalidSocket;
}

bool ReceiveBuffer::grow(std::uint32_t size)
{
    if (size > kMaxMessageSize)
        return false;
    // Fresh pages of the system are zero already, so that a large size that was only announced
    // costs no memory until the body comes.
    std::unique_ptr<char, Free> data(static_cast<char*>(std::calloc(size, 1)));
    if (!data)
        return false;
    if (m_data)
        std::memcpy(data.get(), m_data.get(), std::min(m_capacity, size));
    m_data = std::move(data);
    m_capacity = size;
    return true;
}

SocketHandle socket_accept_message(
    SocketHandle listeningSocket, ReceiveBuffer& buffer, MessagePlace place)
{
    const SocketHandle accepted = socket_accept(listeningSocket, place);
    if (accepted == kInvalidSocket)
        return kInvalidSocket;
    if (!socket_peer_is_trusted(accepted))
    {
        return giveUp(
            accepted,
            [](const SystemErrorText&)
            {
                log_warning(
                    "",
                    "Warning: A process of another user has connected. Closing the connection.\n");
            });
    }
    log_rarely("", "Receiving on connection...\n");
    receiveMessage({accepted, place != MessagePlace::sole}, buffer, place);
    return accepted;
}

void socket_receive_message(SocketHandle socket, ReceiveBuffer& buffer, MessagePlace place)
{
    receiveMessage({socket, /*hasTimeout*/ true}, buffer, place);
}

bool socket_send_message(SocketHandle socket, const void* data, std::uint32_t size)
{
    const Deadline deadline(kMessageDeadlineMs);
    char sizeBytes[kHeaderSize];
    std::memcpy(sizeBytes, &size, kHeaderSize);
    std::span<const char> header(sizeBytes);
    std::span<const char> body(static_cast<const char*>(data), size);
    while (!header.empty() || !body.empty())
    {
        const int leftMs = deadline.remainingMs();
        const Transferred sent = leftMs == 0
            ? Transferred{Status::timedOut}
            : socket_send_some(socket, header, body, std::min(leftMs, kSocketTimeoutMs));
        if (sent.status == Status::interrupted)
            continue;
        if (sent.status != Status::done)
        {
            print_out("Warning: send to socket failed\n");
            return false;
        }
        if (sent.count == 0)
        {
            print_out("Warning: Could not send header!\n");
            return false;
        }
        const std::size_t ofHeader = std::min(sent.count, header.size());
        header = header.subspan(ofHeader);
        body = body.subspan(sent.count - ofHeader);
    }
    return true;
}

void socket_send_once(const std::string& path, const void* data, std::uint32_t size)
{
    // Without a test in between: a send on no socket fails, and has told so, like any other.
    const SocketHandle socket = socket_connect(path);
    socket_send_message(socket, data, size);
    socket_close(socket);
}

void socket_unlink(const std::string& path, const SocketFile& own)
{
    if (!own.isBlank() && socket_file_at(path) == own)
        socket_unlink(path);
}

void socket_unlink_stale(const std::string& path)
{
    const SocketFile seen = socket_file_at(path);
    if (socket_is_refused(path))
        socket_unlink(path, seen);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
