#include "device_agent/objects/tracker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <tuple>

#include <gtest/gtest.h>

#include "device_agent/objects/overlap_matcher.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using Objects = std::vector<TrackedObject>;
using Matches = std::vector<std::uint32_t>;

// The plain way: all pairs, sorted, walked.
Matches matchBySort(const Objects& detections, const Objects& tracks)
{
    const auto area = [](const ResultBox& box) { return (box.x2 - box.x1) * (box.y2 - box.y1); };
    std::vector<std::tuple<float, std::uint32_t, std::uint32_t>> pairs;
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
            const float score = iou / static_cast<float>(now > then ? now - then : then - now);
            if (score > 0)
                pairs.emplace_back(-score, d, t);
        }
    }
    std::sort(pairs.begin(), pairs.end());

    Matches matches(detections.size(), OverlapMatcher::kNoTrack);
    std::set<std::uint32_t> taken;
    for (const auto& [score, d, t] : pairs)
    {
        if (matches[d] == OverlapMatcher::kNoTrack && taken.insert(t).second)
            matches[d] = t;
    }
    return matches;
}

// The plain tracker: erases one by one.
void trackPlainly(Objects& detections, Objects& tracks)
{
    const Matches matches = matchBySort(detections, tracks);
    std::vector<bool> isMatched(tracks.size());
    for (std::size_t i = 0; i < detections.size(); ++i)
    {
        if (matches[i] == OverlapMatcher::kNoTrack)
            continue;
        isMatched[matches[i]] = true;
        tracks[matches[i]].box = detections[i].box;
        detections[i].trackId = tracks[matches[i]].trackId;
    }
    for (std::size_t i = 0; i < tracks.size() && tracks.size() > 100; ++i)
    {
        if (!isMatched[i])
            tracks.erase(tracks.begin() + static_cast<std::ptrdiff_t>(i));
    }
    for (std::size_t i = 0; i < detections.size(); ++i)
    {
        if (matches[i] != OverlapMatcher::kNoTrack)
            continue;
        detections[i].trackId = sdk::Uuid::random();
        tracks.push_back(detections[i]);
    }
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
        {"few", 30, 3, 300, 0, 100'000, 0},
        {"crowd", 30, 70, 330, 0, 100'000, 0},
        {"more than are kept", 30, 260, 150, 0, 100'000, 0},
        {"equal scores", 30, 60, 600, 300, 100'000, 0},
        {"all boxes the same", 30, 60, 1, 2000, 1, 0},
        {"times that do not go on", 30, 40, 200, 50, 0, 0},
        {"no boxes", 30, 70, 20, 0, 2, 0.3},
        {"more pairs than are kept", 2, 1100, 2000, 20, 100'000, 0},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        std::mt19937 random(23);
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
        Objects tracks;
        std::map<sdk::Uuid, sdk::Uuid> sameTrack;
        for (int result = 0; result < c.results; ++result)
        {
            Objects detections(c.perResult);
            const auto timestampUs = 1000 + result * c.stepUs + number(random) % 3;
            for (TrackedObject& object : detections)
            {
                object.box.x1 = place(anywhere(random));
                object.box.y1 = place(anywhere(random));
                object.box.x2 = object.box.x1 + place(size(random));
                object.box.y2 = object.box.y1 + place(size(random));
                object.timestampUs = timestampUs;
            }
            Objects expected = detections;
            tracker.trackClass(detections, "person");
            trackPlainly(expected, tracks);
            for (std::size_t i = 0; i < detections.size(); ++i)
            {
                const auto known = sameTrack.emplace(detections[i].trackId, expected[i].trackId);
                ASSERT_EQ(known.first->second, expected[i].trackId) << result << ", " << i;
            }
        }
    }
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
