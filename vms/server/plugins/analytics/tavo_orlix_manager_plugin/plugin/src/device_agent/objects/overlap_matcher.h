#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "device_agent/objects/track_index.h"
#include "device_agent/objects/tracked_object.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// What matching may cost; every match takes from it what it used. The work grows with the pairs of
// boxes that overlap and with those that had to be compared, and where all boxes of a large result
// lie on one another that is the square of their number. 10,000 people in one picture stay below.
struct MatchingBudget
{
    std::size_t pairs = std::size_t{3} << 20;
    std::size_t comparisons = std::size_t{1} << 25;
    bool isUsedUp = false; // something was not matched
};

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

    // For each detection the index of its track, or kNoTrack. Where `budget` is used up the outcome
    // is that for the detections before; it has one entry for each of those and no more. Valid
    // until the next call.
    [[nodiscard]] std::span<const std::uint32_t> match(
        std::span<const TrackedObject> detections, std::span<const TrackedObject> tracks,
        MatchingBudget& budget);

private:
    // A detection's pair with the best track that was free when it was looked for.
    struct Proposal
    {
        float score = 0;
        std::uint32_t detection = 0;
        std::uint32_t track = kNoTrack;
    };

    // The scored pairs of one detection, in m_pairs. Those with a taken track go in time.
    struct PairRange
    {
        std::size_t begin = 0;
        std::size_t end = 0;
        bool sorted = false; // best first
        std::uint32_t looks = 0; // since the first
    };

    struct ScoredTrack
    {
        float score;
        std::uint32_t track;
    };

    void readTracks();
    void readAges(std::uint64_t timestampUs);
    void proposeBest(MatchingBudget& budget);
    void assignBestFirst();
    Proposal lookAgain(std::uint32_t detection);
    void scorePairs(const ResultBox& detection, std::size_t begin, std::size_t end);
    void sortPairs(PairRange& range);
    void dropTaken(PairRange& range);

    // kNoTrack as its track if no pair of the range scores above 0.
    [[nodiscard]] Proposal bestOf(std::uint32_t detection, const PairRange& range) const;

    std::span<const TrackedObject> m_detections; // of this call, as m_tracks
    std::span<const TrackedObject> m_tracks;
    TrackIndex m_index;
    std::vector<float> m_trackAreas;
    std::vector<float> m_trackAges; // at m_agesAtUs, in microseconds
    std::uint64_t m_agesAtUs = 0;
    OverlappingTracks m_pairs;
    std::vector<float> m_scores; // of m_pairs
    std::vector<PairRange> m_ranges; // by detection
    std::vector<Proposal> m_proposals; // a heap, the best on top
    std::vector<ScoredTrack> m_sorting;
    std::vector<char> m_isTaken; // by track
    std::vector<std::uint32_t> m_result;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
