// The small records of the frame and result paths, and the events that are made of them.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device_agent/events/events.h"
#include "device_agent/frame_clock.h"
#include "result_message.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using namespace test;
using sdk::analytics::EventMetadataPacket;
using testing::ElementsAre, testing::Pair;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(FrameClock, TheSmallestTimestampMakesRoom)
{
    FrameClock clock;
    for (std::uint64_t i = 0; i < FrameClock::kSlots; ++i)
        clock.record(/*timestampUs*/ 100 - i, /*passedAtUs*/ 1000 + i);
    EXPECT_EQ(1009u, clock.passedAtUs(91)) << "the smallest, although the last";
    clock.record(200, 5000);
    EXPECT_EQ(5000u, clock.passedAtUs(200));
    EXPECT_EQ(0u, clock.passedAtUs(91));
    EXPECT_EQ(1008u, clock.passedAtUs(92));
}

TEST(Throughput, EmptySlotsCount)
{
    // Ten results a second; one: their sum is too large for a float to hold every number; and each
    // too large for the sum.
    for (const std::uint64_t intervalUs : {100'000u, 1'000'000u, 3'000'000'000u})
    {
        SCOPED_TRACE(intervalUs);
        Throughput throughput;
        std::uint64_t nowUs = 50'000'000;
        EXPECT_FALSE(throughput.note(nowUs, nowUs)) << "the first result has no figures";
        for (int i = 1; i <= 150; ++i)
        {
            nowUs += intervalUs;
            const auto figures = throughput.note(nowUs, nowUs - 30'000); // 30 ms on its way
            ASSERT_TRUE(figures);
            const unsigned filled = std::min(i, 100);
            const std::uint64_t sumUs = std::min<std::uint64_t>(intervalUs * filled, 2'147'483'647);
            EXPECT_FLOAT_EQ(1e8f / static_cast<float>(sumUs), figures->fps);
            EXPECT_EQ(300 * filled, static_cast<unsigned>(figures->latencyUs));
        }
    }
}

TEST(CountHistory, ShowsTheMostFrequentOfTheLastTwentyAndTheOldestOfEquals)
{
    CountHistory history;
    (void)history.add("car", 7);
    EXPECT_EQ(7u, history.add("car", 1));
    EXPECT_EQ(1u, history.add("car", 1));
    EXPECT_EQ(9u, history.add("person", 9)) << "names do not mix";
    EXPECT_EQ(7u, history.add("car", 7)) << "two each, and 7 entered first";
    for (std::uint64_t i = 0; i < 16; ++i)
        EXPECT_EQ(7u, history.add("car", 100 + i)) << i;
    // The 7 that came first has left the window: one 7 is against two of 1.
    EXPECT_EQ(1u, history.add("car", 200));
}

TEST(FpsEvent, WritesTwoSignificantDigits)
{
    EXPECT_EQ("\nThroughput: 12 FPS\n", fpsDescription({12.34f, 0}));
    EXPECT_EQ("\nThroughput: 1.2e+02 FPS\nLatency: 0 ms", fpsDescription({123.4f, 999}));
    EXPECT_EQ("\nThroughput: 0.0001 FPS\nLatency: -2 ms", fpsDescription({0.0001f, -2500}));
}

TEST(Counts, EndAtWhatCannotBeRead)
{
    Message wrongType(map({{"a", number(1)}, {"b", text("2")}, {"c", number(3)}}));
    EXPECT_THAT(readCounts(wrongType.root()), ElementsAre(Pair("a", 1)));
    EXPECT_EQ(mpack_error_type, wrongType.error());

    Message longest(map({{std::string(1023, 'n'), number(1)}}));
    EXPECT_EQ(1u, readCounts(longest.root()).size());
    Message tooLong(map({{std::string(1024, 'n'), number(1)}}));
    EXPECT_TRUE(readCounts(tooLong.root()).empty());
    EXPECT_EQ(mpack_error_too_big, tooLong.error());
}

TEST(BestLabel, IsTheFirstOfTheBestScoresAboveZero)
{
    const std::pair<Value, std::string> kCases[] = {
        {map({{"a", real(0.5f)}, {"b", real(0.9f)}, {"c", real(0.9f)}}), "b"},
        {map({{"a", real(0)}, {"b", real(0)}}), ""},
        {map({{"a", real(-1)}, {"b", number(1)}}), "b"},
        {map({{"a", real(kNan)}, {"b", real(0.1f)}}), "b"},
    };
    for (const auto& [scores, label] : kCases)
    {
        Message message(scores);
        EXPECT_EQ(label, readBestLabel(message.root()));
    }
}

TEST(CustomEvents, PassOnWhatIsWholeUpToWhatCannotBeRead)
{
    const auto event = [](Value id) {
        return map({{"ID", id}, {"Caption", text("c")}, {"Description", text("d")}});
    };
    for (const Value& broken :
         {event(number(1)), event(text(std::string("a\0b", 3))), text("no map")})
    {
        auto packet = sdk::makePtr<EventMetadataPacket>();
        Message message(array(
            {event(text("first")), map({{"ID", text("x")}, {"Caption", text("")}}),
             map({{"ID", text("x")}, {"Description", text("")}}),
             map({{"Caption", text("")}, {"Description", text("")}}), event(text("second")), broken,
             event(text("third"))}));
        addCustomEvents(message.root(), *packet);
        EXPECT_EQ(2, packet->count());
        EXPECT_EQ(mpack_error_type, message.error());
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
