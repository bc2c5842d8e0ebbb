#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "module/segment_pool.h"
#include "segment_exists.h"
#include "temporary_folder.h"

namespace tavo::devkit
{
namespace
{

namespace orlix = vms_server_plugins::analytics::orlix;
using namespace std::chrono_literals;

class SegmentPoolTest : public testing::Test
{
protected:
    orlix::TemporaryFolder m_folder;
    SegmentRecord m_record{m_folder.path("segments.txt")};
    SegmentPool::Clock::time_point m_now = SegmentPool::Clock::now();
};

TEST_F(SegmentPoolTest, aSegmentGrowsUnderItsNameAndInViewsThatExist)
{
    SegmentPool pool(m_record);
    const std::string name = pool.take(100'000, m_now);
    orlix::ShmSegment segment;
    orlix::shm_from_name(segment, name);
    ASSERT_TRUE(orlix::shm_open(segment));
    orlix::ShmView view = orlix::shm_attach(segment);
    orlix::shm_close(segment);
    pool.giveBack(name, m_now);

    EXPECT_EQ(pool.take(300'000, m_now), name);
    EXPECT_GE(pool.capacity(name), 300'000u);
    const std::string message(300'000, 'x');
    EXPECT_TRUE(orlix::shm_write_attached(view, message.data(), 300'000));
}

TEST_F(SegmentPoolTest, idleSegmentsEndAndOnlyConfirmedOnesAreToldToSenders)
{
    SegmentPool pool(m_record, {.maxSegments = 10, .idleTime = 5s});
    const std::string confirmed = pool.take(10'000, m_now);
    const std::string silent = pool.take(10'000, m_now);
    const std::string inUse = pool.take(10'000, m_now);
    pool.confirm(confirmed);
    pool.confirm(inUse);
    pool.giveBack(confirmed, m_now);
    pool.giveBack(silent, m_now);

    pool.removeIdle(m_now + 5s);
    EXPECT_EQ(pool.count(), 3u);
    pool.removeIdle(m_now + 6s);
    EXPECT_EQ(pool.count(), 1u);
    EXPECT_FALSE(segmentExists(confirmed));
    EXPECT_FALSE(segmentExists(silent));
    EXPECT_TRUE(segmentExists(inUse));
    EXPECT_EQ(pool.nextToDetach(), confirmed);
    EXPECT_EQ(pool.nextToDetach(), "");
    EXPECT_EQ(pool.removedForEngine().size(), 2u);
    EXPECT_TRUE(pool.removedForEngine().empty());
}

TEST_F(SegmentPoolTest, beyondTheLimitTheLongestFreeMakesRoomOrNothingIsGiven)
{
    SegmentPool pool(m_record, {.maxSegments = 2, .idleTime = 1h});
    const std::string first = pool.take(10'000, m_now);
    const std::string second = pool.take(10'000, m_now);
    EXPECT_EQ(pool.take(10'000, m_now), "");
    pool.giveBack(second, m_now);
    pool.giveBack(first, m_now + 1s);
    const std::string large = pool.take(1'000'000, m_now + 2s);
    EXPECT_FALSE(large.empty());
    EXPECT_FALSE(segmentExists(second));
    EXPECT_TRUE(segmentExists(first));
}

} // namespace
} // namespace tavo::devkit
