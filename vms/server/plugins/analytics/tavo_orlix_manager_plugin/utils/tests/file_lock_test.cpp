#include "utils/file_lock.h"

#include <vector>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

using Outcome = FileLock::Outcome;

TEST(FileLockTest, oneHolderAtATimeAndTheFileGoesWithTheLock)
{
    const TemporaryFolder folder;
    const std::string name = "\xC3\xA4 lock";
    const std::string path = folder.path(name);
    {
        FileLock first;
        FileLock second;
        ASSERT_EQ(Outcome::taken, first.take(path));
        EXPECT_TRUE(folder.has(name));
        EXPECT_EQ(Outcome::heldByAnother, second.take(path));
        first.release();
        EXPECT_FALSE(folder.has(name));
        EXPECT_EQ(Outcome::taken, second.take(path));
        EXPECT_EQ(Outcome::heldByAnother, first.take(path));
        EXPECT_EQ(Outcome::taken, second.take(folder.path("other")));
        EXPECT_EQ(Outcome::taken, first.take(path)) << "who takes another lets go of the first";
    }
    EXPECT_FALSE(folder.has(name));
    EXPECT_FALSE(folder.has("other"));
    FileLock lock;
    EXPECT_EQ(Outcome::failed, lock.take(folder.path("no such folder/lock")));
}

// Whoever had it deletes the file, which others have open by then.
TEST(FileLockTest, thoseWhoTryAgainAndAgainNeverHaveItTogether)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("lock");
    std::atomic<int> holders{0};
    std::atomic<int> turns{0};
    std::atomic<bool> together{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (FileLock lock; turns < 3000;)
                {
                    if (lock.take(path) != Outcome::taken)
                        continue;
                    together = together || ++holders > 1;
                    ++turns;
                    std::this_thread::sleep_for(
                        std::chrono::microseconds(20)); // for others to come
                    --holders;
                    lock.release();
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(together);
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
