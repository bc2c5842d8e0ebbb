// The descriptors of a transfer can be looked through there.

#include <tavo/network/http/http_client.h>

#include <future>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "scripted_server.h"

namespace tavo::network::http
{

namespace
{

using test::Connection;
using test::ScriptedServer;

TEST(HttpClient, opensItsSocketCloseOnExec)
{
    std::promise<int> clientPort;
    const ScriptedServer server(
        [&](Connection& connection)
        {
            connection.readRequest();
            clientPort.set_value(connection.clientPort());
            connection.write("HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\n");
            connection.waitForClose();
        });
    HttpClient client(ssl::kDefaultCertificateCheck);
    ASSERT_TRUE(client.doGet(server.url()));

    const int port = clientPort.get_future().get();
    int found = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
    {
        sockaddr_in address{};
        socklen_t size = sizeof(address);
        if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
            address.sin_family == AF_INET && ntohs(address.sin_port) == port)
        {
            ++found;
            EXPECT_TRUE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
        }
    }
    EXPECT_EQ(found, 1);
}

} // namespace

} // namespace tavo::network::http
