#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/object_tracker.h"

namespace tavo::devkit
{
namespace
{

constexpr std::uint64_t kSecond = 1'000'000;

SeenObject person(float x)
{
    return {"person", 1, {x, 100, 40, 80}};
}

// Ids in the order of the objects.
std::vector<ObjectId> ids(
    ObjectTracker& tracker, const std::vector<SeenObject>& objects, std::uint64_t timestampUs)
{
    std::vector<ObjectId> found;
    for (const Track* const track : tracker.update(objects, timestampUs))
        found.push_back(track->id);
    return found;
}

TEST(ObjectTracker, objectsKeepTheirIdsWhateverTheirOrder)
{
    ObjectTracker tracker;
    const auto first = ids(tracker, {person(0), person(200)}, kSecond);
    EXPECT_NE(first[0], first[1]);
    const auto second = ids(tracker, {person(190), person(20), person(400)}, 2 * kSecond);
    EXPECT_EQ(second[0], first[1]);
    EXPECT_EQ(second[1], first[0]);
    EXPECT_NE(second[2], first[0]);
    EXPECT_NE(second[2], first[1]);
}

TEST(ObjectTracker, theBetterOverlapGetsTheTrack)
{
    ObjectTracker tracker;
    const auto first = ids(tracker, {person(100)}, kSecond);
    const auto second = ids(tracker, {person(120), person(105)}, 2 * kSecond);
    EXPECT_NE(second[0], first[0]);
    EXPECT_EQ(second[1], first[0]);
}

TEST(ObjectTracker, nearnessStandsInForOverlapAndClassesStayApart)
{
    ObjectTracker tracker;
    const auto first = ids(tracker, {person(100)}, kSecond);
    SeenObject car = person(100);
    car.className = "car";
    EXPECT_NE(ids(tracker, {car}, 2 * kSecond)[0], first[0]);
    EXPECT_EQ(ids(tracker, {person(142)}, 3 * kSecond)[0], first[0]); // just beside it
    EXPECT_NE(ids(tracker, {person(300)}, 4 * kSecond)[0], first[0]);
}

TEST(ObjectTracker, aTrackOutlivesThreeSecondsOutOfSight)
{
    ObjectTracker tracker;
    const auto first = ids(tracker, {person(100)}, 10 * kSecond);
    EXPECT_EQ(ids(tracker, {person(100)}, 13 * kSecond)[0], first[0]);
    EXPECT_NE(ids(tracker, {person(100)}, 16 * kSecond + 1)[0], first[0]);
}

TEST(ObjectTracker, timeThatRunsBackBeginsAnew)
{
    ObjectTracker tracker;
    const auto first = ids(tracker, {person(100)}, 10 * kSecond);
    EXPECT_NE(ids(tracker, {person(100)}, 2 * kSecond)[0], first[0]);
}

} // namespace
} // namespace tavo::devkit
