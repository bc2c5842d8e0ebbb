#include <gtest/gtest.h>

#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

#ifndef NDEBUG
TEST(LockOrderDeathTest, EndsWhoTakesALockAgainstTheOrder)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Mutex settings(LockLevel::settings);
    Mutex pipeline(LockLevel::pipeline);
    Mutex leaf;
    Mutex otherLeaf;
    const auto take = [](Mutex& first, Mutex& second)
    {
        const MutexLock outer(first);
        const MutexLock inner(second);
    };
    take(settings, pipeline);
    take(settings, leaf); // one may be left out
    EXPECT_DEATH(take(pipeline, settings), "settings while pipeline is held");
    EXPECT_DEATH(take(leaf, otherLeaf), "leaf while leaf is held");
    EXPECT_DEATH(take(settings, settings), "settings while settings is held");

    // What was given back does not count, in whatever order it went.
    MutexLock outer(settings);
    MutexLock inner(pipeline);
    outer.unlock();
    inner.unlock();
    outer.lock();
    inner.lock();
}
#endif

} // namespace tavo::vms_server_plugins::analytics::orlix
