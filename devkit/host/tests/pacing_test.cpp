#include <gtest/gtest.h>

#include "contact_sheet.h"
#include "pacing.h"

namespace tavo::devkit
{

TEST(FramePacerTest, keepsTheDistancesOfTheVideo)
{
    FramePacer pacer;
    EXPECT_EQ(pacer.dueUs(0, 5'000'000), 5'000'000);
    EXPECT_EQ(pacer.dueUs(100'000, 5'050'000), 5'100'000);
    EXPECT_EQ(pacer.dueUs(200'000, 5'900'000), 5'200'000) << "late: due at once, not moved";
}

TEST(FramePacerTest, startsAnewWhenFarBehindOrFarAhead)
{
    FramePacer pacer;
    EXPECT_EQ(pacer.dueUs(0, 0), 0);
    EXPECT_EQ(pacer.dueUs(100'000, 3'000'000), 3'000'000);
    EXPECT_EQ(pacer.dueUs(200'000, 3'000'000), 3'100'000);
    EXPECT_EQ(pacer.dueUs(60'000'000, 3'200'000), 3'200'000);
}

TEST(StrictClockTest, rises)
{
    StrictClock clock;
    EXPECT_EQ(clock.next(10), 10);
    EXPECT_EQ(clock.next(10), 11);
    EXPECT_EQ(clock.next(5), 12) << "the wall clock was set back";
    EXPECT_EQ(clock.next(100), 100);
}

TEST(MediaClockTest, putsRoundsOneBehindTheOther)
{
    MediaClock clock;
    EXPECT_EQ(clock.next(500, 100), 0) << "a video that does not begin at 0";
    EXPECT_EQ(clock.next(600, 100), 100);
    clock.beginRound();
    EXPECT_EQ(clock.next(500, 100), 200);
    EXPECT_EQ(clock.next(600, 100), 300);
    EXPECT_EQ(clock.next(-1, 100), 400) << "a picture without a time";
    EXPECT_EQ(clock.next(650, 100), 400) << "never back";
}

TEST(EvenSamplerTest, keepsAnEvenSpread)
{
    for (const int count : {1, 11, 12, 23, 24, 25, 100, 1000})
    {
        SCOPED_TRACE(count);
        EvenSampler sampler(12);
        std::vector<int> kept;
        for (int i = 0; i < count; ++i)
        {
            const EvenSampler::Step step = sampler.next();
            if (step.keepThis)
                kept.push_back(i);
            for (size_t k = 1; step.dropEveryOther && k < kept.size(); ++k)
                kept.erase(kept.begin() + ptrdiff_t(k));
        }
        EXPECT_GE(kept.size(), size_t(std::min(count, 12)));
        EXPECT_LT(kept.size(), 24u);
        for (size_t k = 2; k < kept.size(); ++k)
            EXPECT_EQ(kept[k] - kept[k - 1], kept[1] - kept[0]);
    }
}

} // namespace tavo::devkit
