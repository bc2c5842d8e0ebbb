#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "device_agent/objects/track_grid.h"
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
// Nothing is sorted here. Only boxes that overlap can score above 0. Each detection in turn claims
// the best of its tracks that no better pair has, and whoever had it claims another. Since both
// sides go by the one order of pairs, no other assignment leaves nobody with a better claim than
// who has the track. Memory is kept from call to call. Not synchronised.
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
    // The scored pairs of one detection, in m_pairs. Those whose track is lost go in time.
    struct PairRange
    {
        std::size_t begin = 0;
        std::size_t end = 0;
        Scored best;
        bool sorted = false; // best first
        std::uint32_t looks = 0; // since the first
    };

    void scorePairs(MatchingBudget& budget);
    void assign();

    // The best pair of a detection whose track is to be had.
    [[nodiscard]] Scored lookAgain(std::uint32_t detection);

    // Nobody has the track by a better pair. Once this is false it stays so.
    [[nodiscard]] bool isToBeHad(std::uint32_t detection, Scored pair) const
    {
        return Scored(pair.scoreBits(), detection) > m_holders[pair.index()];
    }

    std::span<const TrackedObject> m_detections; // of this call, as m_tracks
    std::span<const TrackedObject> m_tracks;
    TrackGrid m_grid;
    std::vector<Scored> m_pairs; // by track
    std::vector<PairRange> m_ranges; // by detection
    std::vector<Scored> m_holders; // by track: the detection that has it, none at first
    std::vector<std::uint32_t> m_result;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
