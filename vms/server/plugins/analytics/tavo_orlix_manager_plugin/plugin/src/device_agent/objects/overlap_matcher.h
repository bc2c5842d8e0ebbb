#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "device_agent/objects/tracked_object.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Assigns detections to tracks, one to one, best pair first. A pair's score is the boxes' overlap
// (intersection over union) divided by the difference of their timestamps; only a score above 0
// counts. The outcome is that of a full sort of all pairs by score, highest first, where pairs of
// one score stand in the order of detections and then of tracks. Without a time difference a score
// is an infinity, or no number, and is taken as the comparison finds it.
//
// Nothing is sorted here: only boxes that overlap can score above 0, and of those each detection's
// best free track is all that the next assignment depends on. Memory is kept from call to call.
// Not synchronised.
class OverlapMatcher
{
public:
    static constexpr std::uint32_t kNoTrack = std::numeric_limits<std::uint32_t>::max();

    // For each detection the index of its track, or kNoTrack. Valid until the next call.
    [[nodiscard]] std::span<const std::uint32_t> match(
        std::span<const TrackedObject> detections, std::span<const TrackedObject> tracks);

private:
    // A detection's pair with the best track that was free when it was looked for.
    struct Proposal
    {
        float score = 0;
        std::uint32_t detection = 0;
        std::uint32_t track = kNoTrack;
    };

    // The scored pairs of one detection, in m_pairs.
    struct PairRange
    {
        std::size_t begin = 0;
        std::size_t end = 0;
        bool kept = false;
        bool sorted = false; // best first, and what lies before `begin` is of no more use
        std::uint32_t looks = 0; // since the first
    };

    // The tracks field by field, so that one box is compared with several at once.
    struct TrackColumns
    {
        std::vector<float> x1, y1, x2, y2, area;
        std::vector<float> age; // at m_agesAtUs, in microseconds
        std::vector<float> intersection; // with the detection in hand
    };

    struct PairColumns
    {
        std::vector<std::uint32_t> track;
        std::vector<float> intersection, area, age, score;
    };

    struct ScoredTrack
    {
        float score;
        std::uint32_t track;
    };

    void readTracks();
    void readAges(std::uint64_t timestampUs);
    void proposeBest();
    void assignBestFirst();
    Proposal lookAgain(std::uint32_t detection);

    // The pairs of a detection, behind those that are kept.
    PairRange pairsOf(const TrackedObject& detection);
    std::size_t findPairs(ResultBox detection, std::size_t begin); // gives their end
    void scorePairs(float detectionArea, std::size_t begin, std::size_t end);
    void sortPairs(PairRange& range);

    // kNoTrack as its track if no pair with a free track scores above 0.
    [[nodiscard]] Proposal bestFree(std::uint32_t detection, PairRange& range) const;

    std::span<const TrackedObject> m_detections; // of this call, as m_trackObjects
    std::span<const TrackedObject> m_trackObjects;
    std::size_t m_trackCount = 0;
    std::uint64_t m_agesAtUs = 0;
    std::size_t m_keptEnd = 0; // of m_pairs
    TrackColumns m_tracks;
    PairColumns m_pairs;
    std::vector<PairRange> m_ranges; // by detection
    std::vector<Proposal> m_proposals; // a heap, the best on top
    std::vector<ScoredTrack> m_sorting;
    std::vector<char> m_isTaken; // by track
    std::vector<std::uint32_t> m_result;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
