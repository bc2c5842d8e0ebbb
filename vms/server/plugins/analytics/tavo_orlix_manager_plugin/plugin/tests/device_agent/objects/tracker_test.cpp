#include "device_agent/objects/tracker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "plain_tracker.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using Objects = std::vector<TrackedObject>;

TrackedObject object(const ResultBox& box, std::uint64_t timestampUs)
{
    TrackedObject object;
    object.box = box;
    object.timestampUs = timestampUs;
    return object;
}

TEST(Tracker, FollowsAsThePlainWayDoes)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kMax = std::numeric_limits<float>::max();
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kOddPlaces[] = {-kMax, -kInfinity, 0, 0, 1e-30f, 5, 20, kMax, kInfinity, kNan};
    const struct
    {
        const char* name;
        int results;
        std::size_t perResult;
        float side; // decides how many boxes overlap
        float grid; // decides how many scores are equal
        std::uint64_t stepUs; // the results are of about now, so some are of the past or the same
        double oddShare; // of coordinates that make no box
    } kCases[] = {
        {"few", 20, 3, 300, 0, 100'000, 0},
        {"crowd", 6, 70, 330, 0, 100'000, 0},
        {"more than are kept", 4, 150, 150, 0, 100'000, 0},
        {"equal scores", 10, 60, 600, 300, 100'000, 0},
        {"all boxes the same", 10, 60, 1, 2000, 1, 0},
        {"times that do not go on", 10, 40, 200, 50, 0, 0},
        {"no boxes", 6, 70, 20, 0, 2, 0.3},
        {"all over one another", 2, 200, 2000, 20, 100'000, 0},
        {"enough to be searched", 3, 180, 70, 0, 100'000, 0},
        {"a few huge among many", 3, 180, 70, 0, 100'000, 0.02},
    };
    constexpr unsigned kSequences = 6; // of each case
    for (unsigned i = 0; i < kSequences * std::size(kCases); ++i)
    {
        const auto& c = kCases[i % std::size(kCases)];
        SCOPED_TRACE(c.name);
        std::mt19937 random(i);
        std::uniform_real_distribution<float> anywhere(0, 1000), size(0.6f * c.side, 1.4f * c.side);
        std::uniform_int_distribution<std::size_t> number(0, std::size(kOddPlaces) - 1);
        std::bernoulli_distribution isOdd(c.oddShare);
        const auto place = [&](float value)
        {
            if (isOdd(random))
                return kOddPlaces[number(random)];
            return c.grid > 0 ? c.grid * std::floor(value / c.grid) : value;
        };
        Tracker tracker; // its memory is kept
        test::PlainTracker plain;
        std::map<sdk::Uuid, sdk::Uuid> plainOf, ofPlain;
        for (int result = 0; result < c.results; ++result)
        {
            Objects detections;
            const auto timestampUs = 1000 + result * c.stepUs + number(random) % 3;
            while (detections.size() < c.perResult)
            {
                const float x = place(anywhere(random));
                const float y = place(anywhere(random));
                detections.push_back(
                    object({x, y, x + place(size(random)), y + place(size(random))}, timestampUs));
            }
            Objects expected = detections;
            MatchingBudget budget;
            tracker.trackClass(detections, "person", budget);
            plain.trackClass(expected, "person");
            ASSERT_FALSE(budget.isUsedUp);
            for (std::size_t j = 0; j < detections.size(); ++j)
            {
                const sdk::Uuid id = detections[j].trackId;
                const sdk::Uuid plainId = expected[j].trackId;
                ASSERT_EQ(plainId, plainOf.emplace(id, plainId).first->second) << result;
                ASSERT_EQ(id, ofPlain.emplace(plainId, id).first->second) << result;
            }
        }
    }
}

// As many boxes in the same density: the work of each stays the same, also with one box far away.
TEST(Tracker, WorkGrowsWithTheNumberOfBoxes)
{
    for (const std::size_t count : {1'000u, 4'000u, 16'000u})
    {
        std::mt19937 random(5);
        const float side = 1000.0f / std::sqrt(static_cast<float>(count));
        std::uniform_real_distribution<float> anywhere(0, 1000);
        const auto result = [&](std::uint64_t timestampUs)
        {
            Objects detections = {object({1e9f, 1e9f, 1.1e9f, 1.1e9f}, timestampUs)};
            while (detections.size() < count)
            {
                const float x = anywhere(random);
                const float y = anywhere(random);
                detections.push_back(object({x, y, x + side, y + side}, timestampUs));
            }
            return detections;
        };
        Tracker tracker;
        MatchingBudget budget;
        Objects detections = result(1);
        tracker.trackClass(detections, "person", budget);
        const MatchingBudget before = budget;
        detections = result(2);
        tracker.trackClass(detections, "person", budget);
        EXPECT_FALSE(budget.isUsedUp);
        EXPECT_LT(before.pairs - budget.pairs, 8 * count);
        EXPECT_LT(before.comparisons - budget.comparisons, 40 * count);
    }
}

TEST(Tracker, BeyondTheBudgetIdsAreNewAndNotFollowed)
{
    const struct
    {
        const char* name;
        MatchingBudget budget;
        bool known[4]; // whether the detection has the id of a track
    } kCases[] = {
        {"enough", {16, 16}, {true, true, true, true}},
        {"pairs for two", {11, 16}, {true, true, false, false}},
        {"comparisons for three", {16, 12}, {true, true, true, false}},
        {"none", {0, 0}, {false, false, false, false}},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        Tracker tracker;
        std::set<sdk::Uuid> ids;
        const auto track = [&](std::uint64_t timestampUs, MatchingBudget budget)
        {
            Objects detections(4, object({0, 0, 10, 10}, timestampUs));
            tracker.trackClass(detections, "person", budget);
            for (std::size_t i = 0; i < detections.size(); ++i)
            {
                const bool isNew = ids.insert(detections[i].trackId).second;
                EXPECT_EQ(timestampUs == 1 || (timestampUs == 2 && !c.known[i]), isNew) << i;
            }
            return budget.isUsedUp;
        };
        track(1, {});
        EXPECT_EQ(!c.known[3], track(2, c.budget));
        track(3, {}); // the four tracks are still there, and no more than those
        EXPECT_EQ(4 + std::ranges::count(c.known, false), std::ssize(ids));
    }
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
