#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/detection.h"
#include "engine/geometry.h"
#include "engine/watches.h"
#include "test_picture.h"

namespace tavo::devkit
{
namespace
{

// A box whose feet are at the point.
Box standingAt(float x, float y)
{
    return {x - 10, y - 40, 20, 40};
}

TEST(SuppressOverlaps, theBestOfAClassStays)
{
    const Box box{0, 0, 10, 10};
    const Box shifted{0, 2, 10, 10}; // shares 2/3 with `box`
    const Box apart{0, 6, 10, 10}; // shares 1/4 with `box`
    const auto kept = suppressOverlaps(
        {{0, 0.5f, box}, {0, 0.9f, shifted}, {1, 0.6f, box}, {0, 0.4f, {}}, {0, 0.3f, apart}},
        0.5f);

    ASSERT_EQ(kept.size(), 4u);
    EXPECT_EQ(kept[0].box, shifted);
    EXPECT_EQ(kept[1].classIndex, 1);
    EXPECT_EQ(kept[2].box, Box());
    EXPECT_EQ(kept[3].box, apart);
}

TEST(Masks, theFeetDecideWithinOrWithout)
{
    const Polygon left = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};
    // A chevron: its notch is outside.
    const Polygon chevron = {{200, 0}, {300, 50}, {200, 100}, {250, 50}};
    const struct
    {
        const char* name;
        std::vector<Polygon> masks;
        Box box;
        bool within;
    } kCases[] = {
        {"inside the only mask", {left}, standingAt(50, 50), true},
        {"feet outside, body inside", {left}, standingAt(50, 120), false},
        {"feet inside, body outside", {left}, standingAt(50, 10), true},
        {"inside the second mask", {left, chevron}, standingAt(270, 50), true},
        {"in the notch", {left, chevron}, standingAt(220, 50), false}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        InputFrame frame;
        frame.masks = c.masks;
        EXPECT_EQ(withinMasks({{"person", 1, c.box}}, frame).size(), c.within ? 1u : 0u);
        frame.masksExclude = true;
        EXPECT_EQ(withinMasks({{"person", 1, c.box}}, frame).size(), c.within ? 0u : 1u);
    }
    EXPECT_EQ(withinMasks({{"person", 1, standingAt(500, 500)}}, InputFrame()).size(), 1u);
}

TEST(LineCrossing, countsOnceClearOfTheLine)
{
    const Polygon upright = {{100, 0}, {100, 100}};
    const struct
    {
        const char* name;
        std::vector<Point> path;
        int crossings;
    } kCases[] = {
        {"straight over", {{80, 50}, {95, 50}, {120, 50}}, 1},
        {"there and back", {{80, 50}, {120, 50}, {80, 50}}, 2},
        {"lingers on it, then goes over", {{80, 50}, {99, 50}, {101, 50}, {99, 50}, {103, 50}}, 1},
        {"lingers on it, then turns back", {{80, 50}, {99, 50}, {101, 50}, {99, 50}, {90, 50}}, 0},
        {"past its end", {{80, 150}, {120, 150}}, 0},
        {"along it", {{90, 10}, {90, 90}}, 0},
        {"appears beyond it", {{120, 50}, {150, 50}}, 0}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        Track track;
        int crossings = 0;
        for (const Point point : c.path)
        {
            track.box = standingAt(point.x, point.y);
            crossings += crossesLine(track, upright);
        }
        EXPECT_EQ(crossings, c.crossings);
    }
    Track track;
    track.box = standingAt(50, 50);
    EXPECT_FALSE(crossesLine(track, {}));
}

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

class DumpingTest : public testing::Test
{
protected:
    DumpingTest() { m_frame.rgb = m_picture.image(); }

    // One frame each second; gives how many were reported with it.
    std::size_t see(const std::vector<SeenObject>& seen)
    {
        m_frame.timestampUs += 1'000'000;
        std::vector<const Track*> reports;
        m_left = m_watch.update(m_frame, seen, reports).size();
        return reports.size();
    }

    TestPicture m_picture{{320, 240}};
    DumpingWatch m_watch;
    InputFrame m_frame;
    std::size_t m_left = 0; // what lay about in the last frame
};

TEST_F(DumpingTest, detectionsAtRestThatAreNotInTheReference)
{
    const SeenObject parked{"suitcase", 1, {200, 100, 40, 40}};
    const SeenObject fresh{"suitcase", 1, {20, 100, 40, 40}};
    const SeenObject person{"person", 1, {100, 100, 40, 80}};
    m_frame.dumping = StayWatch{"suitcase", 3'000'000};
    EXPECT_EQ(see({parked}), 0u); // the reference
    EXPECT_EQ(see({parked, fresh, person}), 0u);
    SeenObject carried = fresh;
    carried.box.x += 30; // still on its way
    EXPECT_EQ(see({parked, carried, person}), 0u);
    EXPECT_EQ(see({parked, carried, person}), 0u);
    EXPECT_EQ(see({parked, carried, person}), 0u);
    EXPECT_EQ(see({parked, carried, person}), 1u);
    EXPECT_EQ(see({parked, carried, person}), 0u);
    EXPECT_EQ(m_left, 1u);
    m_watch.takeReference();
    see({parked, carried});
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(see({parked, carried}), 0u);
    EXPECT_EQ(m_left, 0u);
}

TEST_F(DumpingTest, whateverChangesThePictureUnlessADetectorKnowsIt)
{
    m_frame.dumping = StayWatch{DumpingWatch::kAnyObject, 2'000'000};
    EXPECT_EQ(see({}), 0u);
    m_picture.fill({50, 60, 40, 50}, 200);
    const SeenObject known{"person", 1, {50, 60, 40, 50}};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(see({known}), 0u);
    EXPECT_EQ(see({}), 0u);
    EXPECT_EQ(see({}), 0u);
    EXPECT_EQ(see({}), 1u);
    EXPECT_EQ(m_left, 1u);
    m_watch.takeReference();
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(see({}), 0u);
    EXPECT_EQ(m_left, 0u);
}

TEST(SceneBackground, aFrameOfAnotherSizeBeginsAnew)
{
    SceneBackground background({0.05f, 0});
    EXPECT_TRUE(background.differences(TestPicture({64, 48}, 90).image()).empty());
    EXPECT_EQ(background.differences(TestPicture({64, 48}, 250).image()).size(), 1u);
    // Sides that are no multiple of the copy's, and a single pixel.
    EXPECT_TRUE(background.differences(TestPicture({999, 1}, 250).image()).empty());
    EXPECT_TRUE(background.differences(TestPicture({1, 1}, 250).image()).empty());
    EXPECT_EQ(background.differences(TestPicture({1, 1}, 90).image()).size(), 1u);
}

} // namespace
} // namespace tavo::devkit
