// A wait that ends with its socket, modes, and other users.

#include "utils/sockets.h"

#include <cerrno>
#include <csignal>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "forked_process.h"
#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(ListeningSocketTest, aShutdownEndsTheWaitForConnections)
{
    const TemporaryFolder folder;
    const SocketHandle listening = socket_listen(folder.path("sock"));
    ReceiveBuffer buffer;
    std::atomic<int> ends{0};
    std::thread waiting(
        [&]
        {
            // Time-outs may come before the shutdown does.
            for (int waits = 0; waits < 20 && ends != EINVAL; ++waits)
            {
                EXPECT_EQ(kInvalidSocket, socket_accept_message(listening, buffer));
                ends = errno;
            }
        });
    socket_shutdown(listening);
    waiting.join();
    EXPECT_EQ(EINVAL, ends);
    socket_close(listening);
}

TEST(SocketPathTest, aSocketIsForItsOwnerWhateverTheUmaskAndTheNeighbours)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("sock");
    std::filesystem::create_directory(path); // in its place
    const mode_t former = umask(0);
    const SocketHandle listening = socket_listen(path);
    umask(former);
    ASSERT_NE(kInvalidSocket, listening);
    using std::filesystem::perms;
    EXPECT_EQ(perms::owner_read | perms::owner_write, std::filesystem::status(path).permissions());
    socket_close(listening);

    std::filesystem::remove(path);
    std::filesystem::create_directories(path + "/of somebody");
    EXPECT_EQ(kInvalidSocket, socket_listen(path));
    EXPECT_TRUE(std::filesystem::exists(path + "/of somebody"));
}

class StrangerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "only root can be somebody else";
        std::filesystem::permissions(m_folder.path(), std::filesystem::perms::all);
    }

    // As another user than this process's.
    static auto byStranger(std::function<void()> body)
    {
        return [body = std::move(body)]
        {
            constexpr uid_t kNobody = 65534;
            if (setresuid(kNobody, kNobody, kNobody) == 0)
                body();
        };
    }

    const TemporaryFolder m_folder;
    const std::string m_path = m_folder.path("sock");
};

TEST_F(StrangerTest, isNotListenedTo)
{
    const SocketHandle listening = socket_listen(m_path);
    ASSERT_NE(kInvalidSocket, listening);
    std::filesystem::permissions(m_path, std::filesystem::perms::all); // as by mistake
    {
        const ForkedProcess stranger(byStranger(
            [&]
            {
                const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
                sockaddr_un address = {AF_UNIX, {}};
                m_path.copy(address.sun_path, sizeof address.sun_path - 1);
                connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address);
            }));
        ReceiveBuffer buffer;
        SocketHandle accepted = kInvalidSocket;
        EXPECT_TRUE(comesTrue(
            [&]
            {
                accepted = socket_accept_message(listening, buffer);
                return accepted != kInvalidSocket || errno == EACCES;
            }));
        EXPECT_EQ(kInvalidSocket, accepted);
    }
    socket_close(listening);
}

TEST_F(StrangerTest, isSentNothing)
{
    const ForkedProcess stranger(byStranger([&] { static_cast<void>(socket_listen(m_path)); }));
    EXPECT_TRUE(
        comesTrue([&] { return socket_connect(m_path) == kInvalidSocket && errno == EACCES; }));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
