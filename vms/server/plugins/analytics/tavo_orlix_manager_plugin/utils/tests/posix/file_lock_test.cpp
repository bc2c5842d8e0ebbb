#include "utils/file_lock.h"

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

using Outcome = FileLock::Outcome;

TEST(FileLockTest, itEndsWithAHolderThatIsKilled)
{
    const TempFolder folder;
    const std::string path = folder.file("lock");
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const pid_t holder = fork();
    if (holder == 0)
    {
        FileLock lock;
        const char outcome = static_cast<char>(lock.take(path));
        static_cast<void>(write(ends[1], &outcome, 1));
        for (;;)
            pause();
    }
    char outcome = -1;
    ASSERT_EQ(1, read(ends[0], &outcome, 1));
    EXPECT_EQ(static_cast<char>(Outcome::taken), outcome);
    struct stat status = {};
    ASSERT_EQ(0, stat(path.c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 0777u);
    FileLock lock;
    EXPECT_EQ(Outcome::heldByAnother, lock.take(path));
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    EXPECT_EQ(Outcome::taken, lock.take(path)); // the file that is left is no lock
    close(ends[0]);
    close(ends[1]);
}

// Whatever a stranger has put there.
TEST(FileLockTest, whatIsThereIsNeitherFollowedNorWaitedFor)
{
    const TempFolder folder;
    const std::string link = folder.file("link");
    const std::string target = folder.file("target");
    ASSERT_EQ(0, symlink(target.c_str(), link.c_str()));
    FileLock lock;
    EXPECT_EQ(Outcome::heldByAnother, lock.take(link));
    EXPECT_FALSE(std::filesystem::exists(target));
    const std::string fifo = folder.file("fifo");
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    EXPECT_EQ(Outcome::taken, lock.take(fifo));
    if (geteuid() != 0)
        return;
    const std::string strange = folder.file("strange");
    std::ofstream(strange) << "a stranger's";
    ASSERT_EQ(0, chown(strange.c_str(), 12345, 12345));
    EXPECT_EQ(Outcome::heldByAnother, lock.take(strange)); // is made anew
    EXPECT_EQ(Outcome::taken, lock.take(strange));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
