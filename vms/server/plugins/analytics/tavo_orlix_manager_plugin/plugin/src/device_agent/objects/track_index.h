#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "device_agent/objects/scored.h"
#include "device_agent/objects/tracked_object.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The boxes of many tracks, laid out so that those that a box overlaps are found without looking at
// all of them: the picture is cut into horizontal bands, and what lies in a band is sorted by its
// left edge. A track that reaches over several bands stands in each. Memory is kept from call to
// call. Not synchronised.
class TrackIndex
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

    // Comparisons of two boxes since the last build: what the search has cost.
    [[nodiscard]] std::size_t comparisons() const { return m_comparisons; }

private:
    // A run of places in the columns, sorted by left edge.
    struct Run
    {
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    // Of each band two runs: tracks that begin in it, and those that reach into it from above. A
    // box looks at the second in its first band only, and so meets no track twice.
    struct Band
    {
        Run beginning;
        Run continuing;
    };

    struct Columns
    {
        std::vector<float> x1, y1, x2, y2, area, age;
        std::vector<float> reach; // the largest x2 of the run up to here
        std::vector<std::uint32_t> track;
    };

    void sortByLeftEdge(std::span<const TrackedObject> tracks);
    void chooseBands(std::span<const TrackedObject> tracks);
    void layOut(std::span<const TrackedObject> tracks);
    void place(Run& run, const ResultBox& box, std::uint32_t track);
    [[nodiscard]] std::size_t bandAt(float y) const;
    [[nodiscard]] Run candidates(const Run& run, const ResultBox& box) const;
    [[nodiscard]] std::size_t compare(
        const ResultBox& box, const Run& run, std::span<Scored> found, std::size_t end) const;

    struct LeftEdge
    {
        float x1;
        std::uint32_t track;
    };

    std::span<const TrackedObject> m_tracks;
    std::vector<LeftEdge> m_byLeftEdge;
    std::vector<float> m_bandTops; // of all bands but the first, rising
    std::vector<Band> m_bands;
    Columns m_columns;
    std::size_t m_places = 0; // in use
    std::vector<float> m_sample;
    std::size_t m_comparisons = 0;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
