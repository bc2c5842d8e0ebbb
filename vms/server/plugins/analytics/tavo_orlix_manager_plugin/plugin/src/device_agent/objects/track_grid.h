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

// Finds the tracks that a box overlaps without looking at all of them. The picture is cut into
// strips, across and down; for each strip a bit for each track says whether the track's box begins
// there or before, or ends there or behind. Four such lookups leave hardly more than the tracks
// sought, with few decisions. 64 tracks stand in one word; where they fill many words they are
// sorted by their left edge, so that a box looks at the words around its place alone. Memory is
// kept from call to call. Not synchronised.
class TrackGrid
{
public:
    // `tracks` stay as they are until the next call.
    void build(std::span<const TrackedObject> tracks);

    // The time that scores are reckoned at until the next call: the age of a track is its distance
    // from this. To be called after build.
    void setTime(std::uint64_t timestampUs);

    // Writes the tracks that `box` scores above 0 with, in no order, from `begin` on and gives
    // their end; makes room for them. A score is the overlap (intersection over union) divided by
    // the track's age in microseconds. Boxes without an area, or with one that is no number,
    // overlap nothing.
    [[nodiscard]] std::size_t findOverlapping(
        const ResultBox& box, std::vector<Scored>& found, std::size_t begin);

    // Comparisons of two boxes, and looks at a word, since the last build: what the search has
    // cost.
    [[nodiscard]] std::size_t comparisons() const { return m_comparisons; }

private:
    struct Place
    {
        ResultBox box;
        float area;
        float age; // microseconds
        std::uint32_t track;
    };

    using Bits = std::uint64_t; // one for each of so many places
    static constexpr std::size_t kWordPlaces = 64;
    static constexpr std::size_t kStrips = 32;
    using Strips = std::array<Bits, kStrips>;

    struct Word
    {
        Strips beginningX; // by a strip: which tracks begin there or before
        Strips beginningY;
        Strips endingX; // which end there or behind
        Strips endingY;
    };

    void fillPlaces();
    void sortPlaces();
    void chooseStrips();
    void markStrips();
    [[nodiscard]] LaneBits stripsOf(const ResultBox& box) const;

    std::span<const TrackedObject> m_tracks;
    std::vector<Place> m_places; // of the tracks that have an area
    std::vector<Word> m_words;
    Lanes m_origin{}; // of x, y, x and y
    Lanes m_scale{}; // strips a pixel; the same
    // By word, where the places are sorted: the first left edge, and the furthest right edge.
    std::vector<float> m_begins;
    std::vector<float> m_ends;
    std::size_t m_comparisons = 0;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
