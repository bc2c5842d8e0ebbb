#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "device_agent/objects/lanes.h"
#include "device_agent/objects/scored.h"
#include "device_agent/objects/tracked_object.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Finds those of a few tracks that a box overlaps, as TrackIndex does. The picture is cut into
// strips, across and down; for each strip a bit for each track says whether the track's box begins
// there or before, or ends there or behind. Four such lookups leave hardly more than the tracks
// sought, with nothing sorted and few decisions. Memory is kept from call to call. Not
// synchronised.
class TrackGrid
{
public:
    // The work of each box grows with the tracks.
    static constexpr std::size_t kMaxTracks = 256;

    // `tracks`, no more than kMaxTracks, stay as they are until the next call.
    void build(std::span<const TrackedObject> tracks);

    // As those of TrackIndex.
    void setTime(std::uint64_t timestampUs);
    [[nodiscard]] std::size_t findOverlapping(
        const ResultBox& box, std::vector<Scored>& found, std::size_t begin);
    [[nodiscard]] std::size_t comparisons() const { return m_comparisons; }

private:
    struct Place
    {
        ResultBox box;
        float area; // 0 of a box that overlaps nothing
        float age; // microseconds
    };

    using Word = std::uint64_t; // a bit for each of so many tracks
    static constexpr std::size_t kWordTracks = 64;
    static constexpr std::size_t kStrips = 32;
    using Strips = std::array<Word, kStrips>;

    struct WordStrips
    {
        Strips beginningX; // by a strip: which tracks begin there or before
        Strips beginningY;
        Strips endingX; // which end there or behind
        Strips endingY;
    };

    void choosePlaces();
    void markStrips();
    [[nodiscard]] LaneBits stripsOf(const ResultBox& box) const;
    [[nodiscard]] std::span<WordStrips> words();

    std::span<const TrackedObject> m_tracks;
    std::array<Place, kMaxTracks> m_places{}; // by track
    Lanes m_origin{}; // of x, y, x and y
    Lanes m_scale{}; // strips a pixel; the same
    std::array<WordStrips, kMaxTracks / kWordTracks> m_words{};
    std::size_t m_comparisons = 0;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
