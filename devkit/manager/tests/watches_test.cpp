#include "engine/watches.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace tavo::devkit
{

TEST(Loitering, isToldOncePerObjectOfTheClass)
{
    Track track;
    track.className = "person";
    track.firstSeenUs = 1'000'000;
    const StayWatch watch{"person", 30'000'000};
    EXPECT_FALSE(loiters(track, {"car", 0}, 99'000'000));
    EXPECT_FALSE(loiters(track, watch, 30'999'999));
    EXPECT_TRUE(loiters(track, watch, 31'000'000));
    EXPECT_FALSE(loiters(track, watch, 60'000'000));
}

TEST(DumpingWatch, tellsOnceOfWhatIsNotInTheReferenceAndStays)
{
    constexpr Size kSize{320, 240};
    const SeenObject parked{"suitcase", 1, {200, 100, 40, 40}};
    const SeenObject moving{"suitcase", 1, {20, 100, 40, 40}};
    const SeenObject left{"suitcase", 1, {50, 100, 40, 40}};
    const SeenObject person{"person", 1, {100, 100, 40, 80}};
    const std::vector<SeenObject> all{parked, left, person};
    const struct
    {
        const char* objectClass;
        std::vector<std::vector<SeenObject>> seen; // a second each, the first one is the reference
        bool isChanged; // the picture, after the reference
        std::vector<std::size_t> reports; // with each of them
    } kCases[] = {
        {"suitcase",
         {{parked}, {parked, moving, person}, all, all, all, all, all},
         false,
         {0, 0, 0, 0, 0, 1, 0}},
        {DumpingWatch::kAnyObject, {{}, {}, {}, {}, {}}, true, {0, 0, 0, 1, 0}},
        {DumpingWatch::kAnyObject, {{}, all, all, all, all}, true, {0, 0, 0, 0, 0}}, // are known
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.objectClass);
        DumpingWatch watch;
        std::vector<std::uint8_t> pixels(std::size_t(kSize.area()) * 3, 0);
        InputFrame frame;
        frame.rgb = {pixels.data(), kSize};
        frame.dumping = StayWatch{c.objectClass, c.isChanged ? 2'000'000u : 3'000'000u};
        std::vector<std::size_t> counts;
        const auto see = [&](const std::vector<SeenObject>& seen)
        {
            frame.timestampUs += 1'000'000;
            std::vector<const Track*> reports;
            (void)watch.update(frame, seen, reports);
            counts.push_back(reports.size());
            if (c.isChanged)
            {
                for (int y = 100; y < 140; ++y)
                    std::fill_n(pixels.begin() + (y * kSize.width + 50) * 3, 40 * 3, 200);
            }
        };
        for (const auto& seen : c.seen)
            see(seen);
        EXPECT_EQ(counts, c.reports);

        watch.takeReference();
        counts.clear();
        for (int i = 0; i < 5; ++i)
            see(c.seen.back());
        EXPECT_EQ(counts, std::vector<std::size_t>(5, 0));
    }
}

} // namespace tavo::devkit
