// What a process has when its descriptors run out, at each place where one is asked for.

#include <functional>
#include <sys/resource.h>

#include "test_support.h"
#include "utils/command.h"
#include "utils/pipes.h"
#include "utils/process.h"
#include "utils/shm.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

TEST(ShortageTest, ofDescriptorsFailsTheOperationAloneWithAWordAndLeavesNone)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("sock");
    const SocketHandle listening = socket_listen(path);
    ShmSegment segment;
    shm_create_named(segment, uniqueName("shm"), 1, 10);
    const struct
    {
        const char* name;
        std::function<bool()> run;
    } cases[] = {
        {"process",
         []
         {
             PipeEnd errors;
             ProcessRecord record = process_start(std::vector<std::string>{"true"}, false, &errors);
             return process_wait(record, 20) == 0;
         }},
        {"command", [] { return runCommand("true").exitCode == 0; }},
        {"pipes",
         []
         {
             int status = -1;
             const PipePair pair = pipe_pair_new(status);
             return status == 0;
         }},
        {"view", [&] { return shm_is_attached(shm_attach(segment)); }},
        {"segment",
         []
         {
             ShmSegment created;
             shm_create_random(created, 1);
             const bool isThere = shm_size(created) > 0;
             shm_close(created);
             shm_remove(created);
             return isThere;
         }},
        {"connection", [&] { return socket_close(socket_connect(path)) == 0; }},
        {"server", [&] { return socket_close(socket_listen(folder.path("other"))) == 0; }}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(c.run()); // what the system keeps from the first time on
        const auto before = test_support::openHandles();
        rlimit former = {};
        ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &former));
        bool isEnough = false;
        int failures = 0;
        for (rlim_t most = 3; most < 64 && !isEnough; ++most)
        {
            const CapturedLog log;
            rlimit short_ = former;
            short_.rlim_cur = most;
            ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &short_));
            isEnough = c.run();
            ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &former));
            failures += !isEnough;
            EXPECT_EQ(isEnough, log.text().empty()) << log.text();
        }
        EXPECT_TRUE(isEnough);
        EXPECT_LT(0, failures);
        EXPECT_EQ(before, test_support::openHandles());
    }
    // A connection that cannot be taken is not asked for again at once.
    const SocketHandle client = socket_connect(path);
    ReceiveBuffer buffer;
    rlimit former = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &former));
    const rlimit none{1, former.rlim_max};
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
    EXPECT_EQ(kInvalidSocket, socket_accept_message(listening, buffer));
    EXPECT_EQ(EMFILE, errno);
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &former));
    EXPECT_LE(std::chrono::milliseconds(500), std::chrono::steady_clock::now() - begin);
    socket_close(client);
    socket_close(listening);
    socket_unlink(path);
    shm_close(segment);
    shm_remove(segment);
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
