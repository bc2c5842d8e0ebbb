#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

// Local stream sockets and the frame record, the one message format on them: a 4-byte size in
// machine order, then that many bytes.
//
// Nobody but the user of this process and the system's administrator has a part in it: a socket
// file is for its owner alone from before anybody can connect, and both sides look at who the other
// one is. (Where a system does not tell that, the path is trusted, as if its folder
// were the user's own.)
//
// No wait lasts longer than a second, and no message takes longer than 5 seconds in all, however
// its bytes trickle. Nothing is retried, and nothing throws but for want of memory. No write raises
// a signal. No state: any thread may call. A socket belongs to one thread at a time, except that
// socket_shutdown may be called from another to wake its wait; a socket is closed only when no
// thread uses it any more.
//
// A failed call gives kInvalidSocket, false or 0, and has logged why. Where a body is on its way,
// that is on standard output instead: it happens with every frame while an application is ending,
// and who sends the frame says so once. errno is set only where it is said here.

namespace tavo::vms_server_plugins::analytics::orlix
{

using SocketHandle = std::uintptr_t;
inline constexpr SocketHandle kInvalidSocket = static_cast<SocketHandle>(-1);

struct SocketTimeout
{
    std::int32_t seconds;
    std::int32_t microseconds;
};
inline constexpr SocketTimeout socket_timeout{1, 0};

inline constexpr int kMessageDeadlineMs = 5000;

// The largest message: what fits a shared memory segment. A larger one counts as one for which no
// memory can be had.
inline constexpr std::uint32_t kMaxMessageSize = 0xC800000 - 4;

// Takes one message after the other and allocates only for one that is larger than any before.
// What a receive that fails leaves behind is the previous message, or part of the new one.
class ReceiveBuffer
{
public:
    // Null until a first message with a body was announced.
    [[nodiscard]] char* data() const { return m_data.get(); }
    [[nodiscard]] std::uint32_t capacity() const { return m_capacity; }

    // As the last size word said: may be more than the buffer holds.
    [[nodiscard]] std::uint32_t announcedSize() const { return m_announcedSize; }
    void setAnnouncedSize(std::uint32_t size) { m_announcedSize = size; }

    // The message: never more than the buffer holds, and every byte of it initialised.
    [[nodiscard]] std::span<const char> message() const
    {
        return {m_data.get(), m_announcedSize < m_capacity ? m_announcedSize : m_capacity};
    }

    // Makes room for `size` bytes; keeps what is there, and what is new is zero. False, and nothing
    // changed, when `size` is above kMaxMessageSize or memory cannot be had.
    [[nodiscard]] bool grow(std::uint32_t size);

private:
    struct Free
    {
        void operator()(char* data) const { std::free(data); }
    };

    std::unique_ptr<char, Free> m_data;
    std::uint32_t m_capacity = 0;
    std::uint32_t m_announcedSize = 0;
};

// How a message may be received. Sole: it is the last one that is read from its connection, so that
// its header and body may come with one call of the system; what follows it is lost.
enum class MessagePlace
{
    oneOfSeveral,
    sole,
};

// Connects to the socket that listens at `path`, which is cut to 107 bytes. Gives a socket to be
// closed with socket_close, or kInvalidSocket, also when somebody else's process listens there.
[[nodiscard]] SocketHandle socket_connect(const std::string& path);

// Which file a listening socket has made, so that it is not taken for another's at the same path.
// Stays blank where a platform cannot tell.
struct SocketFile
{
    std::uint64_t device = 0;
    std::uint64_t number = 0;

    [[nodiscard]] bool isBlank() const { return device == 0 && number == 0; }
    bool operator==(const SocketFile&) const = default;
};

// Listens at `path`, cut to 107 bytes; a file or an empty folder that is there is replaced. Gives a
// socket to be closed with socket_close, or kInvalidSocket. The file stays until socket_unlink.
[[nodiscard]] SocketHandle socket_listen(const std::string& path, SocketFile* file = nullptr);

// False if the process at the other end of a connection is another user's, and not the
// administrator's. Looked at by socket_connect and socket_accept_message already.
[[nodiscard]] bool socket_peer_is_trusted(SocketHandle socket);

// Waits a second for a connection and receives its first message as socket_receive_message does.
// Gives the accepted socket, whether or not a message came, to be closed with socket_close. Gives
// kInvalidSocket after a second without one, with errno ETIMEDOUT and no log line; silently after
// socket_shutdown, at once where the platform wakes the wait, and within that second elsewhere.
[[nodiscard]] SocketHandle socket_accept_message(
    SocketHandle listeningSocket, ReceiveBuffer& buffer,
    MessagePlace place = MessagePlace::oneOfSeveral);

// Receives one message. Reports nothing: what came is in the buffer, and on any failure its data,
// capacity and size are those from before, or the new size with an incomplete body. A header that
// comes in two pieces is dropped silently. `socket` comes from socket_connect or
// socket_accept_message.
void socket_receive_message(
    SocketHandle socket, ReceiveBuffer& buffer, MessagePlace place = MessagePlace::oneOfSeveral);

// Sends one message. `socket` comes from socket_connect or socket_accept_message.
bool socket_send_message(SocketHandle socket, const void* data, std::uint32_t size);

// Sends one message on a connection of its own. Fire and forget: the caller learns nothing.
void socket_send_once(const std::string& path, const void* data, std::uint32_t size);

// Gives the system's result: 0, or -1.
int socket_close(SocketHandle socket);

// Shuts both directions down, and with them every wait on the socket.
void socket_shutdown(SocketHandle socket);

// Deletes the file of a listening socket.
void socket_unlink(const std::string& path);

// The same, unless another socket has taken the path over.
void socket_unlink(const std::string& path, const SocketFile& own);

// Deletes the file of a socket whose process has ended; one that somebody listens at stays.
void socket_unlink_stale(const std::string& path);

// Make the system's sockets ready, and end that. Needed once per process by programs; inside a host
// they are ready. Give 0, or 1 with the reason logged.
int sockets_start();
int sockets_stop();

[[nodiscard]] int socket_error_to_errno(int systemError);

} // namespace tavo::vms_server_plugins::analytics::orlix
