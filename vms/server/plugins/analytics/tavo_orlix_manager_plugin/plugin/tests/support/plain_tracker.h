#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include <tavo/sdk/helpers/uuid.h>

#include "device_agent/objects/overlap_matcher.h"
#include "device_agent/objects/tracked_object.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// The assignment of detections to tracks in plain words: score all pairs, sort all, walk them. What
// the plugin's own way is compared with, for its outcome and for its time.
inline std::vector<std::uint32_t> matchByFullSort(
    std::span<const TrackedObject> detections, std::span<const TrackedObject> tracks)
{
    struct Pair
    {
        float score;
        std::uint32_t detection;
        std::uint32_t track;
    };
    const auto area = [](const ResultBox& box) { return (box.x2 - box.x1) * (box.y2 - box.y1); };
    const auto score = [&](const TrackedObject& d, const TrackedObject& t)
    {
        const float width = std::min(d.box.x2, t.box.x2) - std::max(d.box.x1, t.box.x1);
        const float height = std::min(d.box.y2, t.box.y2) - std::max(d.box.y1, t.box.y1);
        const float common = std::max(0.0f, width) * std::max(0.0f, height);
        const float overlap = common / (area(d.box) + area(t.box) - common);
        const std::uint64_t age = d.timestampUs > t.timestampUs ? d.timestampUs - t.timestampUs
                                                                : t.timestampUs - d.timestampUs;
        return overlap / static_cast<float>(age);
    };

    std::vector<Pair> pairs;
    for (std::uint32_t d = 0; d < detections.size(); ++d)
    {
        for (std::uint32_t t = 0; t < tracks.size(); ++t)
        {
            const float value = score(detections[d], tracks[t]);
            pairs.push_back({value > 0 ? value : 0, d, t}); // a NaN would be no order to sort by
        }
    }
    std::sort(
        pairs.begin(), pairs.end(),
        [](const Pair& a, const Pair& b)
        {
            if (a.score != b.score)
                return a.score > b.score;
            return a.detection != b.detection ? a.detection < b.detection : a.track < b.track;
        });
    std::vector<std::uint32_t> result(detections.size(), OverlapMatcher::kNoTrack);
    std::vector<bool> taken(tracks.size());
    for (const Pair& pair : pairs)
    {
        if (pair.score == 0 || taken[pair.track] ||
            result[pair.detection] != OverlapMatcher::kNoTrack)
        {
            continue;
        }
        taken[pair.track] = true;
        result[pair.detection] = pair.track;
    }
    return result;
}

// The tracker around it: tracks are erased one by one.
class PlainTracker
{
public:
    void trackClass(std::vector<TrackedObject>& detections, const std::string& className)
    {
        constexpr std::size_t kMaxTracks = 100;
        auto& tracks = m_tracks[className];
        const auto trackOf = matchByFullSort(detections, tracks);
        std::vector<bool> matched(tracks.size());
        for (std::size_t i = 0; i < detections.size(); ++i)
        {
            if (trackOf[i] == OverlapMatcher::kNoTrack)
                continue;
            matched[trackOf[i]] = true;
            tracks[trackOf[i]].box = detections[i].box;
            detections[i].trackId = tracks[trackOf[i]].trackId;
        }
        for (std::size_t i = 0; i < tracks.size() && tracks.size() > kMaxTracks; ++i)
        {
            if (!matched[i])
                tracks.erase(tracks.begin() + static_cast<std::ptrdiff_t>(i));
        }
        for (std::size_t i = 0; i < detections.size(); ++i)
        {
            if (trackOf[i] != OverlapMatcher::kNoTrack)
                continue;
            detections[i].trackId = sdk::randomUuid();
            tracks.push_back(detections[i]);
        }
    }

private:
    std::unordered_map<std::string, std::vector<TrackedObject>> m_tracks;
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
