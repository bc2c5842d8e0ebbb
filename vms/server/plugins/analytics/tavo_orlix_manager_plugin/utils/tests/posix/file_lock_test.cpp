#include "utils/file_lock.h"

#include <sys/stat.h>
#include <unistd.h>

#include "../test_support.h"
#include "forked_process.h"
#include "utils/place.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

using Outcome = FileLock::Outcome;

TEST(FileLockTest, itEndsWithAHolderThatIsKilled)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("lock");
    ForkedProcess holder(
        [&]
        {
            static FileLock lock;
            if (lock.take(path) == Outcome::taken)
                folder.write("taken", std::to_string(getpid()));
        });
    ASSERT_TRUE(comesTrue([&] { return !contentOf(folder.path("taken")).empty(); }));
    struct stat status = {};
    ASSERT_EQ(0, stat(path.c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 0777u);
    FileLock lock;
    EXPECT_EQ(Outcome::heldByAnother, lock.take(path));
    EXPECT_EQ(", process " + contentOf(folder.path("taken")), fileLockHolder(path));
    EXPECT_EQ("", fileLockHolder(folder.path("taken")));
    holder.end(SIGKILL);
    EXPECT_EQ(Outcome::taken, lock.take(path)); // the file that is left is no lock
}

// Whatever a stranger has put there.
TEST(FileLockTest, whatIsThereIsNeitherFollowedNorWaitedFor)
{
    const TemporaryFolder folder;
    const std::string link = folder.path("link");
    const std::string target = folder.path("target");
    ASSERT_EQ(0, symlink(target.c_str(), link.c_str()));
    FileLock lock;
    EXPECT_EQ(Outcome::heldByAnother, lock.take(link));
    EXPECT_FALSE(std::filesystem::exists(target));
    const std::string fifo = folder.path("fifo");
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    EXPECT_EQ(Outcome::taken, lock.take(fifo));
    if (geteuid() != 0)
        return;
    const std::string strange = folder.path("strange");
    std::ofstream(strange) << "a stranger's";
    ASSERT_EQ(0, chown(strange.c_str(), 12345, 12345));
    EXPECT_EQ(Outcome::heldByAnother, lock.take(strange)); // is made anew
    EXPECT_EQ(Outcome::taken, lock.take(strange));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
