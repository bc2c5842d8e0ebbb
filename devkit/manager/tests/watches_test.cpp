#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "engine/geometry.h"
#include "engine/watches.h"

namespace tavo::devkit
{
namespace
{

// A box whose feet are at the point.
cv::Rect2f standingAt(float x, float y)
{
    return {x - 10, y - 40, 20, 40};
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
        cv::Rect2f box;
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
        std::vector<cv::Point2f> path;
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
        for (const cv::Point2f point : c.path)
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
    DumpingTest() { m_frame.rgb = cv::Mat::zeros(240, 320, CV_8UC3); }

    // One frame each second; gives how many were reported with it.
    std::size_t see(const std::vector<SeenObject>& seen)
    {
        m_frame.timestampUs += 1'000'000;
        std::vector<const Track*> reports;
        m_left = m_watch.update(m_frame, seen, reports).size();
        return reports.size();
    }

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
    cv::rectangle(m_frame.rgb, {50, 60, 40, 50}, {200, 200, 200}, cv::FILLED);
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

TEST(SceneBackground, findsWhatCameAndForgetsWhatStays)
{
    SceneBackground background({0.05, 0.05});
    cv::Mat frame(360, 640, CV_8UC3, cv::Scalar(80, 90, 100));
    EXPECT_TRUE(background.differences(frame).empty());
    EXPECT_TRUE(background.differences(frame).empty());
    const cv::Rect2f square(200, 100, 80, 60);
    cv::rectangle(frame, square, {250, 250, 250}, cv::FILLED);
    frame.at<cv::Vec3b>(10, 10) = {255, 255, 255}; // a speck
    const auto found = background.differences(frame);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_GT(overlapOf(found[0], square), 0.6f);
    int frames = 1;
    while (!background.differences(frame).empty() && frames < 200)
        ++frames;
    EXPECT_GT(frames, 10);
    EXPECT_LT(frames, 60);
}

} // namespace
} // namespace tavo::devkit
