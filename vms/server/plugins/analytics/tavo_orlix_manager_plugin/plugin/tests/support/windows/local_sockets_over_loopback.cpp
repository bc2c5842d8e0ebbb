// Local sockets for tests under Wine, which has none: AF_UNIX becomes TCP on the loopback
// interface, and the socket's file holds the port. These stand where calls into the system's own
// library are looked up, so what is tested is linked as it is. Never part of the library that is
// delivered.

#include <winsock2.h>

#include <afunix.h>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <windows.h>

namespace
{

template <class Function>
Function* systemCall(const char* name)
{
    static const HMODULE library = LoadLibraryW(L"ws2_32.dll");
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

std::wstring pathOf(const sockaddr* address)
{
    const char* const path = reinterpret_cast<const sockaddr_un*>(address)->sun_path;
    std::array<wchar_t, UNIX_PATH_MAX> wide{};
    MultiByteToWideChar(CP_UTF8, 0, path, -1, wide.data(), int(wide.size()));
    return wide.data();
}

sockaddr_in loopback(std::uint16_t networkPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = networkPort;
    return address;
}

// A file that is there blocks the bind, as that of a socket does.
bool writePort(const std::wstring& path, std::uint16_t port)
{
    const HANDLE file = CreateFileW(
        path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        WSASetLastError(GetLastError() == ERROR_FILE_EXISTS ? WSAEADDRINUSE : WSAEINVAL);
        return false;
    }
    DWORD written = 0;
    const bool isWritten = WriteFile(file, &port, sizeof port, &written, nullptr) != 0;
    CloseHandle(file);
    return isWritten && written == sizeof port;
}

std::optional<std::uint16_t> readPort(const std::wstring& path)
{
    const HANDLE file = CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return std::nullopt;
    std::uint16_t port = 0;
    DWORD read = 0;
    const bool isRead = ReadFile(file, &port, sizeof port, &read, nullptr) != 0;
    CloseHandle(file);
    return isRead && read == sizeof port ? std::optional(port) : std::nullopt;
}

SOCKET WSAAPI openSocket(int family, int type, int protocol)
{
    return systemCall<SOCKET WSAAPI(int, int, int)>("socket")(
        family == AF_UNIX ? AF_INET : family, type, protocol);
}

template <class ProtocolInfo>
SOCKET WSAAPI
openSocketWith(int family, int type, int protocol, ProtocolInfo* info, GROUP group, DWORD flags)
{
    constexpr bool kIsWide = std::is_same_v<ProtocolInfo, WSAPROTOCOL_INFOW>;
    return systemCall<SOCKET WSAAPI(int, int, int, ProtocolInfo*, GROUP, DWORD)>(
        kIsWide ? "WSASocketW" : "WSASocketA")(
        family == AF_UNIX ? AF_INET : family, type, protocol, info, group, flags);
}

int WSAAPI bindSocket(SOCKET socket, const sockaddr* address, int size)
{
    const auto bind = systemCall<int WSAAPI(SOCKET, const sockaddr*, int)>("bind");
    if (address->sa_family != AF_UNIX)
        return bind(socket, address, size);
    sockaddr_in any = loopback(0);
    int anySize = sizeof any;
    if (bind(socket, reinterpret_cast<sockaddr*>(&any), anySize) != 0 ||
        getsockname(socket, reinterpret_cast<sockaddr*>(&any), &anySize) != 0)
    {
        return SOCKET_ERROR;
    }
    return writePort(pathOf(address), any.sin_port) ? 0 : SOCKET_ERROR;
}

int WSAAPI connectSocket(SOCKET socket, const sockaddr* address, int size)
{
    const auto connect = systemCall<int WSAAPI(SOCKET, const sockaddr*, int)>("connect");
    if (address->sa_family != AF_UNIX)
        return connect(socket, address, size);
    const std::optional<std::uint16_t> port = readPort(pathOf(address));
    if (!port)
    {
        WSASetLastError(WSAECONNREFUSED);
        return SOCKET_ERROR;
    }
    const sockaddr_in peer = loopback(*port);
    return connect(socket, reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
}

} // namespace

extern "C" {
extern SOCKET(WSAAPI* const __imp_socket)(int, int, int);
extern SOCKET(WSAAPI* const __imp_WSASocketA)(int, int, int, WSAPROTOCOL_INFOA*, GROUP, DWORD);
extern SOCKET(WSAAPI* const __imp_WSASocketW)(int, int, int, WSAPROTOCOL_INFOW*, GROUP, DWORD);
extern int(WSAAPI* const __imp_bind)(SOCKET, const sockaddr*, int);
extern int(WSAAPI* const __imp_connect)(SOCKET, const sockaddr*, int);

SOCKET(WSAAPI* const __imp_socket)(int, int, int) = &openSocket;
SOCKET(WSAAPI* const __imp_WSASocketA)
(int, int, int, WSAPROTOCOL_INFOA*, GROUP, DWORD) = &openSocketWith<WSAPROTOCOL_INFOA>;
SOCKET(WSAAPI* const __imp_WSASocketW)
(int, int, int, WSAPROTOCOL_INFOW*, GROUP, DWORD) = &openSocketWith<WSAPROTOCOL_INFOW>;
int(WSAAPI* const __imp_bind)(SOCKET, const sockaddr*, int) = &bindSocket;
int(WSAAPI* const __imp_connect)(SOCKET, const sockaddr*, int) = &connectSocket;
}
