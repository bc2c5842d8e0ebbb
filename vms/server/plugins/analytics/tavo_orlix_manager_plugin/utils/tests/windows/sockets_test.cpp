#include "utils/sockets.h"

#include <winsock2.h>

#include <windows.h>

#include "test_support.h"

namespace
{

std::atomic<bool> isShort{false};

SOCKET WSAAPI acceptUnlessShort(SOCKET listening, sockaddr* address, int* size)
{
    using Accept = SOCKET WSAAPI(SOCKET, sockaddr*, int*);
    static const auto accept = reinterpret_cast<Accept*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ws2_32.dll"), "accept")));
    if (!isShort)
        return accept(listening, address, size);
    WSASetLastError(WSAEMFILE);
    return INVALID_SOCKET;
}

} // namespace

// Stands where calls into the system's own library are looked up.
extern "C" {
extern SOCKET(WSAAPI* const __imp_accept)(SOCKET, sockaddr*, int*);
SOCKET(WSAAPI* const __imp_accept)(SOCKET, sockaddr*, int*) = &acceptUnlessShort;
}

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(SocketShortageTest, costsATickAndNoMore)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("listening.sock");
    const CapturedLog log;
    const SocketHandle listening = socket_listen(path);
    const SocketHandle connection = socket_connect(path);
    ASSERT_NE(kInvalidSocket, connection);
    EXPECT_TRUE(socket_send_message(connection, "hello", 5));
    ReceiveBuffer buffer;
    isShort = true;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(kInvalidSocket, socket_accept_message(listening, buffer));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
    EXPECT_NE(std::string::npos, log.text().find("Error: Accept failed"));
    isShort = false;
    const SocketHandle accepted = socket_accept_message(listening, buffer);
    EXPECT_EQ("hello", std::string(buffer.message().data(), buffer.message().size()));
    for (const SocketHandle socket : {accepted, connection, listening})
        socket_close(socket);
    socket_unlink(path);
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
