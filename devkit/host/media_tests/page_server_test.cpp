#include <thread>

#include <httplib.h>

#include "host_fixture.h"

namespace tavo::devkit
{

// A server of the same library would share the port with it and get some of its requests.
TEST_F(HostTest, leavesAPortToTheOneThatHasIt)
{
    httplib::Server other;
    const int port = other.bind_to_any_port("127.0.0.1");
    ASSERT_GT(port, 0);
    std::jthread listener([&other] { other.listen_after_bind(); });
    while (!other.is_running())
        std::this_thread::yield();

    EXPECT_EQ(runHost("--seconds 1 --page " + std::to_string(port)), 2);
    EXPECT_TRUE(hasPrinted("cannot be served at 127.0.0.1:" + std::to_string(port))) << m_output;
    other.stop();
}

} // namespace tavo::devkit
