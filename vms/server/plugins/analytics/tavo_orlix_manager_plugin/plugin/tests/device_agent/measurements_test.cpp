// The small records of the frame and result paths.
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "device_agent/count_history.h"
#include "device_agent/frame_clock.h"
#include "device_agent/object_packet.h"
#include "device_agent/region_of_interest.h"
#include "device_agent/throughput.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

TEST(FrameClock, TheSmallestTimestampMakesRoom)
{
    FrameClock clock;
    for (std::uint64_t i = 0; i < FrameClock::kSlots; ++i)
        clock.record(/*timestampUs*/ 100 - i, /*passedAtUs*/ 1000 + i);
    EXPECT_EQ(1000u, clock.passedAtUs(100));
    EXPECT_EQ(1009u, clock.passedAtUs(91)) << "the smallest, although the last";
    EXPECT_EQ(0u, clock.passedAtUs(101));

    clock.record(200, 5000);
    EXPECT_EQ(5000u, clock.passedAtUs(200));
    EXPECT_EQ(0u, clock.passedAtUs(91));
    clock.record(201, 6000);
    EXPECT_EQ(0u, clock.passedAtUs(92));
    EXPECT_EQ(1000u, clock.passedAtUs(100));
}

TEST(Throughput, TheFirstResultHasNoFigures)
{
    Throughput throughput;
    EXPECT_FALSE(throughput.note(1'000'000, 999'000));
    EXPECT_TRUE(throughput.note(1'100'000, 0));
}

TEST(Throughput, EmptySlotsCount)
{
    Throughput throughput;
    std::uint64_t nowUs = 50'000'000;
    (void)throughput.note(nowUs, nowUs);
    // Ten frames a second, each 30 ms on its way.
    for (int i = 1; i <= 150; ++i)
    {
        nowUs += 100'000;
        const auto figures = throughput.note(nowUs, nowUs - 30'000);
        ASSERT_TRUE(figures);
        const int filled = std::min(i, 100);
        EXPECT_FLOAT_EQ(1000.0f / static_cast<float>(filled), figures->fps);
        EXPECT_EQ(300 * filled, figures->latencyUs);
    }
}

TEST(Throughput, StaysDefinedWhereTheWordsDoNot)
{
    Throughput sameMoment;
    (void)sameMoment.note(1000, 0);
    EXPECT_EQ(std::numeric_limits<float>::infinity(), sameMoment.note(1000, 0)->fps);

    Throughput clockSetBack;
    (void)clockSetBack.note(10'000'000, 0);
    const auto figures = clockSetBack.note(9'000'000, 9'500'000);
    EXPECT_FLOAT_EQ(100'000'000.0f / 2147483647.0f, figures->fps) << "the sum ends at its limit";
    EXPECT_EQ(-5000, figures->latencyUs);
}

TEST(CountHistory, ShowsTheMostFrequentOfTheLastTwenty)
{
    CountHistory history;
    EXPECT_EQ(3u, history.add("car", 3));
    EXPECT_EQ(3u, history.add("car", 3));
    EXPECT_EQ(3u, history.add("car", 4));
    for (int i = 0; i < 2; ++i)
        (void)history.add("car", 4);
    EXPECT_EQ(4u, history.add("car", 4)) << "four against two";
    EXPECT_EQ(9u, history.add("person", 9)) << "names do not mix";
}

TEST(CountHistory, OfEquallyFrequentValuesTheOldestIsShown)
{
    CountHistory history;
    (void)history.add("car", 7);
    EXPECT_EQ(7u, history.add("car", 1));
    EXPECT_EQ(1u, history.add("car", 1));
    EXPECT_EQ(7u, history.add("car", 7)) << "two each, and 7 entered first";
    for (std::uint64_t i = 0; i < 16; ++i)
        EXPECT_EQ(7u, history.add("car", 100 + i)) << i;
    // The 7 that came first has left the window: one 7 is against two of 1.
    EXPECT_EQ(1u, history.add("car", 200));
}

TEST(RegionOfInterest, CutsEachCornerToAWholePixel)
{
    const struct
    {
        int width, height;
        std::vector<float> cropBox;
        PixelRegion region;
    } kCases[] = {
        {640, 480, {0, 0, 1, 1}, {0, 0, 640, 480}},
        {640, 480, {0.25f, 0.5f, 0.75f, 1}, {160, 240, 320, 240}},
        // 1.0 to 2.9: the size is that of the cut corners.
        {10, 10, {0.19f, 0.1f, 0.29f, 0.39f}, {1, 1, 1, 2}},
        // Both corners in one pixel column.
        {10, 10, {0.51f, 0, 0.59f, 1}, {5, 0, 0, 10}},
        {0, -5, {0, 0, 1, 1}, {0, 0, 0, 0}},
    };
    for (const auto& c : kCases)
    {
        const PixelRegion region = regionOfInterest(c.width, c.height, c.cropBox);
        EXPECT_EQ(c.region.left, region.left);
        EXPECT_EQ(c.region.top, region.top);
        EXPECT_EQ(c.region.width, region.width);
        EXPECT_EQ(c.region.height, region.height);
    }
}

TEST(FrameBox, MapsBackFromTheCrop)
{
    const struct
    {
        const char* name;
        ResultBox box;
        std::vector<float> cropBox;
        sdk::analytics::Rect rect;
    } kCases[] = {
        {"whole frame", {10, 20, 110, 220}, {}, {0.01f, 0.02f, 0.1f, 0.2f}},
        {"lower right quarter",
         {10, 20, 110, 220},
         {0.5f, 0.5f, 1, 1},
         {0.505f, 0.51f, 0.05f, 0.1f}},
        {"corners exchanged", {110, 220, 10, 20}, {}, {0.11f, 0.22f, 0.1f, 0.2f}},
        {"beyond the frame", {-100, 500, 2000, 1500}, {}, {-0.1f, 0.5f, 2.1f, 1}},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const auto rect = frameBox(c.box, 1000, 1000, c.cropBox);
        EXPECT_FLOAT_EQ(c.rect.x, rect.x);
        EXPECT_FLOAT_EQ(c.rect.y, rect.y);
        EXPECT_FLOAT_EQ(c.rect.width, rect.width);
        EXPECT_FLOAT_EQ(c.rect.height, rect.height);
    }
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
