#include "utils/sockets.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <winsock2.h>

#include <afunix.h>
#include <windows.h>

#include "utils/log.h"
#include "utils/log_rarely.h"
#include "utils/socket_calls.h"
#include "utils/system_error.h"
#include "utils/windows/process_user.h"
#include "utils/windows/system_version.h"
#include "utils/windows/unique_handle.h"
#include "utils/windows/wide_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using Status = Transferred::Status;

// Without overlapped, a socket's time-outs have no effect.
constexpr DWORD kSocketFlags = WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT;

// As much of the path as an address holds beside its terminator. The way through the system's
// encoding leaves nothing that it would not take for a path.
std::string pathInAddress(const std::string& path)
{
    constexpr std::size_t kMostUnits = MAX_PATH;
    std::wstring wide = wideText(path);
    wide.resize(std::min({wide.size(), wide.find(L'\0'), kMostUnits}));
    const std::string narrow = narrowText(wide);
    return narrow.substr(0, sizeof(sockaddr_un::sun_path) - 1);
}

sockaddr_un addressOf(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string fitting = pathInAddress(path);
    std::memcpy(address.sun_path, fitting.data(), fitting.size());
    return address;
}

// From version 1709 on the system tells which process is at the other end of a connection.
bool canTellPeers()
{
    static const bool can = systemVersion().dwBuildNumber >= 16299;
    return can;
}

// False, with the error set, where the folder must do for what the system does not tell of peers,
// and is a stranger's.
bool mayBeUsed(const std::string& path)
{
    if (canTellPeers())
        return true;
    const std::wstring wide = wideText(pathInAddress(path));
    const std::size_t end = wide.find_last_of(L"\\/");
    if (isOfTrustedOwner(end == std::wstring::npos ? L"." : wide.substr(0, end + 1)))
        return true;
    WSASetLastError(WSAEACCES);
    return false;
}

// The whole address is passed in all cases; the path in it ends with its terminator.
const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

// Signalled by a connection to a listening socket, or by its end.
class AcceptEvent
{
public:
    explicit AcceptEvent(SocketHandle listeningSocket) :
        m_socket(listeningSocket),
        m_event(WSACreateEvent())
    {}
    ~AcceptEvent()
    {
        if (m_event == WSA_INVALID_EVENT)
            return;
        const int error = WSAGetLastError();
        WSAEventSelect(m_socket, nullptr, 0);
        WSACloseEvent(m_event);
        WSASetLastError(error);
    }
    AcceptEvent(const AcceptEvent&) = delete;
    AcceptEvent& operator=(const AcceptEvent&) = delete;

    [[nodiscard]] bool isValid() const { return m_event != WSA_INVALID_EVENT; }
    [[nodiscard]] bool select() const
    {
        return WSAEventSelect(m_socket, m_event, FD_ACCEPT | FD_CLOSE) == 0;
    }
    [[nodiscard]] DWORD wait() const
    {
        return WSAWaitForMultipleEvents(1, &m_event, FALSE, kSocketTimeoutMs, FALSE);
    }

private:
    SocketHandle m_socket;
    WSAEVENT m_event;
};

bool isReadable(SocketHandle socket)
{
    fd_set sockets;
    FD_ZERO(&sockets);
    FD_SET(socket, &sockets);
    timeval atOnce = {};
    return select(0, &sockets, nullptr, nullptr, &atOnce) >= 1;
}

// An accepted socket takes over from the listening one that it is not to block, and its event.
void makeOrdinary(SocketHandle socket)
{
    WSAEventSelect(socket, nullptr, 0);
    u_long isNonblocking = 0;
    ioctlsocket(socket, FIONBIO, &isNonblocking);
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
    static_cast<void>(socket_set_timeout(socket, SocketWait::receive));
    static_cast<void>(socket_set_timeout(socket, SocketWait::send));
}

Transferred waitFor(SocketHandle socket, short events, int timeoutMs)
{
    WSAPOLLFD polled{socket, events, 0};
    const int ready = WSAPoll(&polled, 1, timeoutMs);
    if (ready == 0)
        return {Status::timedOut};
    if (ready > 0 && (polled.revents & POLLNVAL) != 0)
    {
        WSASetLastError(WSAENOTSOCK);
        return {Status::waitFailed};
    }
    return {ready > 0 ? Status::done : Status::waitFailed};
}

Transferred failed()
{
    const int error = WSAGetLastError();
    const bool isTimeout = error == WSAETIMEDOUT || error == WSAEWOULDBLOCK;
    return {isTimeout ? Status::timedOut : Status::failed};
}

} // namespace

SocketHandle socket_new()
{
    return WSASocketW(AF_UNIX, SOCK_STREAM, 0, nullptr, 0, kSocketFlags);
}

bool socket_set_timeout(SocketHandle socket, SocketWait wait)
{
    const DWORD milliseconds = kSocketTimeoutMs;
    return setsockopt(
               socket, SOL_SOCKET, wait == SocketWait::receive ? SO_RCVTIMEO : SO_SNDTIMEO,
               reinterpret_cast<const char*>(&milliseconds), sizeof milliseconds) == 0;
}

bool socket_connect_to(SocketHandle socket, const std::string& path)
{
    if (!mayBeUsed(path))
        return false;
    const sockaddr_un address = addressOf(path);
    return connect(socket, generic(address), sizeof address) == 0;
}

bool socket_bind_to(SocketHandle socket, const std::string& path)
{
    if (!mayBeUsed(path))
        return false;
    const sockaddr_un address = addressOf(path);
    return bind(socket, generic(address), sizeof address) == 0;
}

bool socket_start_listening(SocketHandle socket)
{
    return listen(socket, SOMAXCONN) == 0;
}

bool socket_is_refused(const std::string& path)
{
    const SocketHandle socket = socket_new();
    if (socket == kInvalidSocket)
        return false;
    const bool isRefused = !socket_connect_to(socket, path) && WSAGetLastError() == WSAECONNREFUSED;
    closesocket(socket);
    return isRefused;
}

void socket_clear_path(const std::string& path)
{
    const std::wstring wide = wideText(pathInAddress(path));
    if (!DeleteFileW(wide.c_str()))
        RemoveDirectoryW(wide.c_str());
}

SocketFile socket_file_at(const std::string& path)
{
    const UniqueHandle file(CreateFileW(
        wideText(pathInAddress(path)).c_str(), FILE_READ_ATTRIBUTES,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
        FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!file || !GetFileInformationByHandle(file.get(), &information))
        return {};
    return {
        information.dwVolumeSerialNumber,
        std::uint64_t{information.nFileIndexHigh} << 32 | information.nFileIndexLow};
}

void socket_set_last_error(int systemError)
{
    WSASetLastError(systemError);
}

// The folder for temporary files of a service is open to all who are logged in, so that the path
// may be a stranger's, and a stranger may connect.
bool socket_peer_is_trusted(SocketHandle socket)
{
    if (!canTellPeers())
        return true; // the folder was looked at
    ULONG process = 0;
    DWORD size = 0;
    if (WSAIoctl(
            socket, SIO_AF_UNIX_GETPEERPID, nullptr, 0, &process, sizeof process, &size, nullptr,
            nullptr) == 0 &&
        isTrustedProcess(process))
    {
        return true;
    }
    WSASetLastError(WSAEACCES);
    return false;
}

// What is short now would fail the next call at once as well: a tick goes by all the same. A
// connection that its peer has given up is none of that.
SocketHandle socket_accept(SocketHandle listeningSocket, MessagePlace /*place*/)
{
    const auto fail = [](const char* what)
    {
        const int error = WSAGetLastError(); // which logging may change
        const SystemErrorText text(error);
        log_warning(what, "Error: %s: %.*s\n", what, text.length(), text.c_str());
        if (error != WSAECONNRESET)
            Sleep(kSocketTimeoutMs);
        WSASetLastError(error);
        return kInvalidSocket;
    };
    errno = EINVAL;
    const AcceptEvent event(listeningSocket);
    if (!event.isValid())
        return fail("Failed to create accept event");
    if (!event.select())
        return fail("Failed to select accept event");
    const DWORD waited = event.wait();
    if (waited == WSA_WAIT_TIMEOUT)
    {
        errno = ETIMEDOUT;
        return kInvalidSocket;
    }
    if (waited == WSA_WAIT_FAILED)
        return fail("Accept wait failed");
    if (!isReadable(listeningSocket)) // shut down
        return kInvalidSocket;
    const SocketHandle accepted = accept(listeningSocket, nullptr, nullptr);
    if (accepted == kInvalidSocket)
        return fail("Accept failed");
    makeOrdinary(accepted);
    return accepted;
}

Transferred socket_receive_some(SocketHandle socket, void* target, std::size_t size, int timeoutMs)
{
    const Transferred waited = waitFor(socket, POLLRDNORM, timeoutMs);
    if (waited.status != Status::done)
        return waited;
    const int count = recv(
        socket, static_cast<char*>(target),
        static_cast<int>(std::min<std::size_t>(size, kMaxMessageSize)), 0);
    return count < 0 ? failed() : Transferred{Status::done, static_cast<std::size_t>(count)};
}

// A blocking send takes all or fails with its time-out, whatever went out: so it gets no more than
// a slow reader takes in that time.
Transferred socket_send_some(
    SocketHandle socket, std::span<const char> first, std::span<const char> second, int timeoutMs)
{
    constexpr std::size_t kPiece = 256 * 1024;
    if (timeoutMs < kSocketTimeoutMs)
    {
        const Transferred waited = waitFor(socket, POLLWRNORM, timeoutMs);
        if (waited.status != Status::done)
            return waited;
    }
    second = second.first(std::min(second.size(), kPiece));
    WSABUF parts[2] = {
        {static_cast<ULONG>(first.size()), const_cast<char*>(first.data())},
        {static_cast<ULONG>(second.size()), const_cast<char*>(second.data())}};
    DWORD count = 0;
    if (WSASend(socket, parts, 2, &count, 0, nullptr, nullptr) != 0)
        return failed();
    return {Status::done, count};
}

int socket_close(SocketHandle socket)
{
    return closesocket(socket);
}

void socket_shutdown(SocketHandle socket)
{
    shutdown(socket, SD_BOTH);
}

void socket_unlink(const std::string& path)
{
    DeleteFileW(wideText(pathInAddress(path)).c_str());
}

int sockets_start()
{
    WSADATA data = {};
    const int error = WSAStartup(MAKEWORD(2, 2), &data);
    if (error == 0)
        return 0;
    log_info("WSAStartup failed: %d\n", error);
    return 1;
}

int sockets_stop()
{
    WSACleanup();
    return 0;
}

int socket_error_to_errno(int systemError)
{
    constexpr int kNoBufferSpace = 119; // of the system's own C library
    switch (systemError)
    {
        case ERROR_FILE_NOT_FOUND:
            return ENOENT;
        case ERROR_PATH_NOT_FOUND:
            return ENOTDIR;
        case ERROR_ACCESS_DENIED:
            return EACCES;
        case ERROR_INSUFFICIENT_BUFFER:
            return ENOMEM;
        case ERROR_ALREADY_EXISTS:
            return EEXIST;
        case ERROR_NO_MORE_ITEMS:
            return kNoBufferSpace;
        default:
            return EINVAL;
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
