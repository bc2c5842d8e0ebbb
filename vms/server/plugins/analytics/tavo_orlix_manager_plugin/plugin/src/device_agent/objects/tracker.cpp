#include "device_agent/objects/tracker.h"

#include <utility>

#include <tavo/sdk/helpers/uuid.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::size_t kMaxTracks = 100; // of a class; above it, a trim is due

} // namespace

void Tracker::trackClass(
    std::vector<TrackedObject>& detections, const std::string& className, MatchingBudget& budget)
{
    std::vector<TrackedObject>& tracks = m_trackTable[className];
    const std::size_t followed = follow(detections, tracks, budget);
    trim(tracks);
    for (std::size_t i = 0; i < detections.size(); ++i)
    {
        if (!detections[i].trackId.isNull())
            continue;
        detections[i].trackId = sdk::randomUuid();
        if (i < followed)
            tracks.push_back(detections[i]);
    }
}

std::size_t Tracker::follow(
    std::vector<TrackedObject>& detections, std::vector<TrackedObject>& tracks,
    MatchingBudget& budget)
{
    for (TrackedObject& detection : detections)
        detection.trackId = {};
    const auto trackOf = m_matcher.match(detections, tracks, budget);
    m_isMatched.assign(tracks.size(), false);
    for (std::size_t i = 0; i < trackOf.size(); ++i)
    {
        if (trackOf[i] == OverlapMatcher::kNoTrack)
            continue;
        TrackedObject& track = tracks[trackOf[i]];
        track.box = detections[i].box;
        detections[i].trackId = track.trackId;
        m_isMatched[trackOf[i]] = true;
    }
    return trackOf.size();
}

// Drops tracks without a match until kMaxTracks are left: each goes by the bit at its present
// index, which is that of the track that stood there at first, and the track that moves into the
// place of one that goes is passed over. Rough, as the ids that users see have always come from
// it; done in one pass here.
void Tracker::trim(std::vector<TrackedObject>& tracks)
{
    std::size_t dropped = 0;
    std::size_t index = 0;
    for (; tracks.size() - dropped > kMaxTracks && index < tracks.size() - dropped; ++index)
    {
        if (!m_isMatched[index])
            ++dropped;
        if (dropped > 0 && index + dropped < tracks.size())
            tracks[index] = std::move(tracks[index + dropped]);
    }
    if (dropped == 0)
        return;
    for (; index + dropped < tracks.size(); ++index)
        tracks[index] = std::move(tracks[index + dropped]);
    tracks.erase(tracks.end() - static_cast<std::ptrdiff_t>(dropped), tracks.end());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
