#include "utils/copy_choice.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "utils/machine.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

using Duration = CopyChoice::Duration;

constexpr std::size_t kFrame = 640 * 360 * 3;
constexpr int kSecondOfVideo = 10; // frames, of a slow camera

// A machine on which copies take as long as it says. The first copy after one of the other way
// takes three times that: the caches are as that one left them.
struct Machine
{
    Duration::rep plain; // ns
    Duration::rep streaming;
    CopyWay last = CopyWay::streaming;

    Duration cost(CopyWay way) const { return Duration(way == CopyWay::plain ? plain : streaming); }
    Duration best() const { return Duration(std::min(plain, streaming)); }

    Duration copy(CopyChoice& choice, std::size_t size = kFrame)
    {
        const CopyWay way = choice.wayFor(size);
        const Duration took = cost(way) * (way == last ? 1 : 3);
        last = way;
        choice.note(size, way, took);
        return took;
    }
};

class CopyChoiceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(machine_processor_kind() == ProcessorKind::x86_64, can_stream());
        if (!can_stream())
            GTEST_SKIP() << "there is one way only";
    }
};

TEST_F(CopyChoiceTest, settlesOnTheQuickerWayTriesTheOtherOneForLittleAndFollowsTheMachine)
{
    const struct
    {
        const char* name;
        Machine before;
        Machine after;
        int frames; // after which it is followed
    } kCases[] = {
        {"the way in use becomes slow", {20'000, 40'000}, {100'000, 40'000}, 12},
        {"streaming becomes slow", {90'000, 30'000}, {25'000, 60'000}, 12},
        {"the other way becomes quick", {20'000, 40'000}, {20'000, 10'000}, 600},
        {"all becomes slow", {19'000, 46'000}, {58'000, 105'000}, 12},
        {"streaming is much quicker", {340'000, 34'000}, {340'000, 34'000}, 0},
        {"both are much the same", {20'000, 19'000}, {20'000, 19'000}, 0},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        CopyChoice choice;
        Machine machine = c.before;
        for (int i = 0; i < kSecondOfVideo; ++i)
            machine.copy(choice);
        EXPECT_EQ(machine.best(), machine.cost(choice.wayFor(kFrame)));

        constexpr int kFrames = 20'000;
        Duration total{0};
        int trials = 0;
        for (int i = 0; i < kFrames; ++i)
        {
            trials += machine.cost(choice.wayFor(kFrame)) != machine.best();
            total += machine.copy(choice);
        }
        EXPECT_LT(total, machine.best() * kFrames * 103 / 100);
        EXPECT_GT(trials, 0);

        machine = c.after;
        for (int i = 0; i < c.frames; ++i)
            machine.copy(choice);
        EXPECT_EQ(machine.best(), machine.cost(choice.wayFor(kFrame)));
    }
}

TEST_F(CopyChoiceTest, sizesAreOfTheirOwn)
{
    CopyChoice choice;
    Machine small{19'000, 46'000};
    Machine large{2'170'000, 1'600'000};
    constexpr std::size_t kLargeFrame = 3840 * 2160 * 3;
    for (int i = 0; i < kSecondOfVideo; ++i)
    {
        small.copy(choice);
        large.copy(choice, kLargeFrame);
        EXPECT_EQ(CopyWay::plain, choice.wayFor(60'000)) << "too small to be worth a trial";
    }
    EXPECT_EQ(CopyWay::plain, choice.wayFor(kFrame));
    EXPECT_EQ(CopyWay::streaming, choice.wayFor(kLargeFrame));
}

TEST_F(CopyChoiceTest, aCopyThatWasInterruptedDecidesNothing)
{
    CopyChoice choice;
    Machine machine{19'000, 46'000};
    for (int i = 0; i < 2000; ++i)
    {
        if (i % 5 != 3)
        {
            machine.copy(choice);
            continue;
        }
        const CopyWay way = choice.wayFor(kFrame);
        choice.note(kFrame, way, Duration(5'000'000));
    }
    int slow = 0;
    for (int i = 0; i < 100; ++i)
    {
        slow += choice.wayFor(kFrame) == CopyWay::streaming;
        machine.copy(choice);
    }
    EXPECT_LT(slow, 10);
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
