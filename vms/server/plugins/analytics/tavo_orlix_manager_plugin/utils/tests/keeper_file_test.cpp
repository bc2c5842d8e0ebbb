#include "utils/posix/keeper_file.h"

#include <fcntl.h>
#include <sys/wait.h>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

// A keeper without arguments ends at once, with a failure.
bool runs(const UniqueDescriptor& keeper)
{
    const pid_t child = fork();
    if (child == 0)
    {
        char name[] = "orlix_keeper";
        char* const arguments[] = {name, nullptr};
        fexecve(keeper.get(), arguments, environ);
        _exit(99);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) &&
        WEXITSTATUS(status) == EXIT_FAILURE;
}

TEST(KeeperFileTest, everyPlaceGivesAKeeperAndKeepsNoFile)
{
    const TempFolder folder;
    const std::string program = folder.file("program");
    for (int attempt = 0; attempt < kKeeperAttempts; ++attempt)
    {
        SCOPED_TRACE(attempt);
        const UniqueDescriptor keeper = openKeeper(attempt, program);
        ASSERT_TRUE(keeper);
        EXPECT_GE(keeper.get(), 10);
        EXPECT_TRUE(fcntl(keeper.get(), F_GETFD) & FD_CLOEXEC);
        EXPECT_TRUE(runs(keeper));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.file("")));
    EXPECT_FALSE(openKeeper(1, folder.file("none/program")));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
