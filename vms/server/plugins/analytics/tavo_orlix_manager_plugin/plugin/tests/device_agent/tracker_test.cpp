#include "device_agent/tracker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "device_agent/overlap_matcher.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using Objects = std::vector<TrackedObject>;
using Matches = std::vector<std::uint32_t>;

// The plain way: all pairs, sorted, walked.
Matches matchBySort(const Objects& detections, const Objects& tracks)
{
    struct Triple
    {
        std::uint32_t track, detection;
        float score;
    };
    const auto area = [](const ResultBox& box) { return (box.x2 - box.x1) * (box.y2 - box.y1); };
    std::vector<Triple> triples;
    for (std::uint32_t d = 0; d < detections.size(); ++d)
    {
        for (std::uint32_t t = 0; t < tracks.size(); ++t)
        {
            const ResultBox& a = detections[d].box;
            const ResultBox& b = tracks[t].box;
            const float width = std::max(0.0f, std::min(a.x2, b.x2) - std::max(a.x1, b.x1));
            const float height = std::max(0.0f, std::min(a.y2, b.y2) - std::max(a.y1, b.y1));
            const float inter = width * height;
            const float iou = inter / (area(a) + area(b) - inter);
            const std::uint64_t now = detections[d].timestampUs;
            const std::uint64_t then = tracks[t].timestampUs;
            const auto age = static_cast<float>(now > then ? now - then : then - now);
            triples.push_back({t, d, iou / age});
        }
    }
    std::stable_sort(
        triples.begin(), triples.end(),
        [](const Triple& a, const Triple& b)
        { return std::isnan(b.score) ? !std::isnan(a.score) : a.score > b.score; });

    Matches matches(detections.size(), OverlapMatcher::kNoTrack);
    std::set<std::uint32_t> taken;
    for (const Triple& triple : triples)
    {
        if (triple.score > 0 && matches[triple.detection] == OverlapMatcher::kNoTrack &&
            !taken.contains(triple.track))
        {
            matches[triple.detection] = triple.track;
            taken.insert(triple.track);
        }
    }
    return matches;
}

// `side` decides how many boxes overlap, `grid` how many scores are equal.
Objects randomObjects(
    std::mt19937& random, std::size_t count, float side, float grid, std::uint64_t firstUs,
    std::uint64_t lastUs)
{
    std::uniform_real_distribution<float> place(0, 1000);
    std::uniform_real_distribution<float> size(0.6f * side, 1.4f * side);
    std::uniform_int_distribution<std::uint64_t> time(firstUs, lastUs);
    const auto snap = [&](float value)
    { return grid > 0 ? grid * std::floor(value / grid) : value; };
    Objects objects(count);
    for (TrackedObject& object : objects)
    {
        object.box.x1 = snap(place(random));
        object.box.y1 = snap(place(random));
        object.box.x2 = object.box.x1 + snap(size(random));
        object.box.y2 = object.box.y1 + snap(size(random));
        object.timestampUs = time(random);
        object.trackId = sdk::Uuid::random();
    }
    return objects;
}

TEST(OverlapMatcher, GivesWhatAFullSortGives)
{
    const struct
    {
        const char* name;
        std::size_t detections, tracks;
        float side, grid;
        std::uint64_t firstUs, lastUs; // of the tracks; the detections are of 9,000,000
    } kCases[] = {
        {"street", 50, 100, 60, 0, 1'000'000, 8'000'000},
        {"crowd", 50, 100, 330, 0, 1'000'000, 8'000'000},
        {"everybody everywhere", 40, 120, 900, 0, 1'000'000, 8'000'000},
        {"equal scores", 40, 100, 300, 100, 8'000'000, 8'000'000},
        {"all boxes the same", 60, 40, 1, 2000, 8'000'000, 8'000'003},
        {"no time difference", 30, 60, 200, 50, 9'000'000, 9'000'001},
        {"tracks of the future", 30, 60, 200, 0, 8'999'999, 9'000'001},
        {"more detections", 120, 20, 200, 0, 1'000'000, 8'000'000},
    };
    std::mt19937 random(7);
    OverlapMatcher matcher; // one for all, since its memory is kept
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        for (int round = 0; round < 30; ++round)
        {
            const Objects detections =
                randomObjects(random, c.detections, c.side, c.grid, 9'000'000, 9'000'000);
            const Objects tracks =
                randomObjects(random, c.tracks, c.side, c.grid, c.firstUs, c.lastUs);
            const auto matches = matcher.match(detections, tracks);
            ASSERT_EQ(matchBySort(detections, tracks), Matches(matches.begin(), matches.end()));
        }
    }
}

TEST(OverlapMatcher, TakesBoxesThatAreNoBoxes)
{
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kMax = std::numeric_limits<float>::max();
    const ResultBox boxes[] = {
        {0, 0, 10, 10},
        {10, 10, 0, 0},
        {0, 10, 10, 0},
        {5, 5, 5, 5},
        {kNan, 0, 10, 10},
        {0, 0, kNan, kNan},
        {-kInfinity, -kInfinity, kInfinity, kInfinity},
        {-kMax, -kMax, kMax, kMax},
        {1e-30f, 1e-30f, 2e-30f, 2e-30f},
        {0, 0, 20, 20}};
    Objects detections;
    Objects tracks;
    for (const ResultBox& box : boxes)
    {
        for (const std::uint64_t timestampUs : {1u, 2u, 5u})
        {
            detections.emplace_back().box = box;
            detections.back().timestampUs = timestampUs + 1;
            tracks.emplace_back().box = box;
            tracks.back().timestampUs = timestampUs;
        }
    }
    OverlapMatcher matcher;
    const auto matches = matcher.match(detections, tracks);
    EXPECT_EQ(matchBySort(detections, tracks), Matches(matches.begin(), matches.end()));
}

TEST(OverlapMatcher, TakesMorePairsThanItKeeps)
{
    std::mt19937 random(11);
    const Objects detections = randomObjects(random, 1100, 2000, 0, 9, 9);
    const Objects tracks = randomObjects(random, 1100, 2000, 0, 1, 8);
    OverlapMatcher matcher;
    const auto matches = matcher.match(detections, tracks);
    EXPECT_EQ(matchBySort(detections, tracks), Matches(matches.begin(), matches.end()));
}

// The plain tracker: erases one by one.
class PlainTracker
{
public:
    void track(Objects& detections)
    {
        const Matches matches = matchBySort(detections, m_tracks);
        std::vector<bool> isMatched(m_tracks.size());
        for (std::size_t i = 0; i < detections.size(); ++i)
        {
            if (matches[i] == OverlapMatcher::kNoTrack)
                continue;
            isMatched[matches[i]] = true;
            m_tracks[matches[i]].box = detections[i].box;
            detections[i].trackId = m_tracks[matches[i]].trackId;
        }
        for (std::size_t i = 0; i < m_tracks.size() && m_tracks.size() > 100; ++i)
        {
            if (!isMatched[i])
                m_tracks.erase(m_tracks.begin() + static_cast<std::ptrdiff_t>(i));
        }
        for (std::size_t i = 0; i < detections.size(); ++i)
        {
            if (matches[i] != OverlapMatcher::kNoTrack)
                continue;
            detections[i].trackId = sdk::Uuid::random();
            m_tracks.push_back(detections[i]);
        }
    }

private:
    Objects m_tracks;
};

TEST(Tracker, FollowsAsThePlainWayDoes)
{
    for (const std::size_t perResult : {3u, 40u, 70u, 260u})
    {
        SCOPED_TRACE(perResult);
        std::mt19937 random(23);
        Tracker tracker;
        PlainTracker plain;
        std::map<sdk::Uuid, sdk::Uuid> sameTrack;
        for (std::uint64_t round = 1; round <= 30; ++round)
        {
            Objects detections =
                randomObjects(random, perResult, 150, 0, round * 100'000, round * 100'000);
            for (TrackedObject& detection : detections)
                detection.trackId = {};
            Objects expected = detections;
            tracker.trackClass(detections, "person");
            plain.track(expected);
            for (std::size_t i = 0; i < detections.size(); ++i)
            {
                const auto [known, isNew] =
                    sameTrack.emplace(detections[i].trackId, expected[i].trackId);
                ASSERT_EQ(known->second, expected[i].trackId) << "round " << round << ", " << i;
            }
        }
    }
}

TEST(Tracker, IdenticalDetectionsShareNoTrackAndClassesShareNone)
{
    Tracker tracker;
    TrackedObject object;
    object.box = {10, 10, 20, 20};
    object.timestampUs = 1000;
    Objects first{object};
    tracker.trackClass(first, "person");
    EXPECT_FALSE(first[0].trackId.isNull());

    object.timestampUs = 2000;
    Objects second{object, object};
    tracker.trackClass(second, "person");
    EXPECT_EQ(first[0].trackId, second[0].trackId);
    EXPECT_NE(first[0].trackId, second[1].trackId);

    Objects other{object};
    tracker.trackClass(other, "car");
    EXPECT_NE(second[0].trackId, other[0].trackId);
    EXPECT_NE(second[1].trackId, other[0].trackId);
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
