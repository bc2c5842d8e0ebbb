#include "device_agent/objects/track_index.h"

#include <algorithm>

#include "device_agent/objects/box_area.h"
#include "device_agent/objects/lanes.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::size_t kMaxBands = 64;
constexpr std::size_t kSampleSize = 128; // tracks that are asked how the boxes lie
constexpr std::size_t kSearchFrom = 32; // length of a run in which searching pays

template <typename T>
void growTo(std::vector<T>& values, std::size_t size)
{
    if (values.size() < size)
        values.resize(std::max(size, 2 * values.size()));
}

} // namespace

void TrackIndex::build(std::span<const TrackedObject> tracks)
{
    m_tracks = tracks;
    m_comparisons = 0;
    sortByLeftEdge(tracks);
    chooseBands(tracks);
    layOut(tracks);
}

void TrackIndex::sortByLeftEdge(std::span<const TrackedObject> tracks)
{
    m_byLeftEdge.clear();
    for (std::uint32_t i = 0; i < tracks.size(); ++i)
    {
        if (hasArea(tracks[i].box))
            m_byLeftEdge.push_back({tracks[i].box.x1, i});
    }
    std::sort(
        m_byLeftEdge.begin(), m_byLeftEdge.end(),
        [](const LeftEdge& a, const LeftEdge& b)
        { return a.x1 < b.x1 || (a.x1 == b.x1 && a.track < b.track); });
}

// About as many bands as boxes fit below one another, so that most boxes reach into two or three.
// Each has the same share of the tracks, wherever in the picture these are.
void TrackIndex::chooseBands(std::span<const TrackedObject> tracks)
{
    m_bandTops.clear();
    m_bands.assign(1, {});
    const std::size_t count = m_byLeftEdge.size();
    if (count == 0)
        return;

    const std::size_t sampleSize = std::min(count, kSampleSize);
    const auto sampled = [&](auto&& valueOf)
    {
        m_sample.clear();
        for (std::size_t i = 0; i < sampleSize; ++i)
            m_sample.push_back(valueOf(tracks[m_byLeftEdge[i * count / sampleSize].track].box));
        std::sort(m_sample.begin(), m_sample.end());
    };
    sampled([](const ResultBox& box) { return box.y2 - box.y1; });
    const float height = m_sample[sampleSize / 2];
    sampled([](const ResultBox& box) { return box.y1; });
    const float range = m_sample[sampleSize * 9 / 10] - m_sample[sampleSize / 10];
    const float fitting = range / height;
    const auto bandCount =
        fitting < static_cast<float>(kMaxBands) ? static_cast<std::size_t>(fitting) : kMaxBands;
    for (std::size_t i = 1; i < bandCount; ++i)
        m_bandTops.push_back(m_sample[i * sampleSize / bandCount]);
    m_bands.assign(m_bandTops.size() + 1, {});
}

void TrackIndex::layOut(std::span<const TrackedObject> tracks)
{
    for (const LeftEdge& edge : m_byLeftEdge)
    {
        const ResultBox& box = tracks[edge.track].box;
        const std::size_t first = bandAt(box.y1);
        const std::size_t last = bandAt(box.y2);
        ++m_bands[first].beginning.end;
        for (std::size_t i = first + 1; i <= last; ++i)
            ++m_bands[i].continuing.end;
    }
    std::size_t size = 0;
    for (Band& band : m_bands)
    {
        for (Run* const run : {&band.beginning, &band.continuing})
        {
            run->begin = size;
            size += run->end;
            run->end = run->begin;
        }
    }
    m_places = size;
    const std::size_t padded = size + kLanes; // they are read by so many at once
    for (auto* const column :
         {&m_columns.x1, &m_columns.y1, &m_columns.x2, &m_columns.y2, &m_columns.area,
          &m_columns.age, &m_columns.reach})
    {
        growTo(*column, padded);
    }
    growTo(m_columns.track, padded);
    for (const LeftEdge& edge : m_byLeftEdge)
    {
        const ResultBox& box = tracks[edge.track].box;
        const std::size_t first = bandAt(box.y1);
        const std::size_t last = bandAt(box.y2);
        place(m_bands[first].beginning, box, edge.track);
        for (std::size_t i = first + 1; i <= last; ++i)
            place(m_bands[i].continuing, box, edge.track);
    }
}

void TrackIndex::place(Run& run, const ResultBox& box, std::uint32_t track)
{
    const std::size_t at = run.end++;
    m_columns.x1[at] = box.x1;
    m_columns.y1[at] = box.y1;
    m_columns.x2[at] = box.x2;
    m_columns.y2[at] = box.y2;
    m_columns.area[at] = areaOf(box);
    m_columns.reach[at] = at == run.begin ? box.x2 : std::max(m_columns.reach[at - 1], box.x2);
    m_columns.track[at] = track;
}

void TrackIndex::setTime(std::uint64_t timestampUs)
{
    for (std::size_t i = 0; i < m_places; ++i)
        m_columns.age[i] = ageOf(m_tracks[m_columns.track[i]], timestampUs);
}

std::size_t TrackIndex::bandAt(float y) const
{
    if (m_bandTops.empty())
        return 0;
    return static_cast<std::size_t>(
        std::upper_bound(m_bandTops.begin(), m_bandTops.end(), y) - m_bandTops.begin());
}

std::size_t TrackIndex::findOverlapping(
    const ResultBox& box, std::vector<Scored>& found, std::size_t begin)
{
    if (!hasArea(box))
        return begin;
    std::size_t end = begin;
    const auto look = [&](const Run& run)
    {
        const Run near = candidates(run, box);
        growTo(found, end + (near.end - near.begin) + kLanes);
        end = compare(box, near, found, end);
        m_comparisons += near.end - near.begin;
    };
    const std::size_t first = bandAt(box.y1);
    const std::size_t last = bandAt(box.y2);
    look(m_bands[first].continuing);
    for (std::size_t i = first; i <= last; ++i)
        look(m_bands[i].beginning);
    return end;
}

// The part of a run that the box can overlap from left to right.
TrackIndex::Run TrackIndex::candidates(const Run& run, const ResultBox& box) const
{
    if (run.end - run.begin < kSearchFrom)
        return run;
    const auto at = [](const std::vector<float>& column, std::size_t i)
    { return column.begin() + static_cast<std::ptrdiff_t>(i); };
    const auto end =
        std::lower_bound(at(m_columns.x1, run.begin), at(m_columns.x1, run.end), box.x2);
    const auto begin =
        std::upper_bound(at(m_columns.reach, run.begin), at(m_columns.reach, run.end), box.x1);
    const auto endPlace = static_cast<std::size_t>(end - m_columns.x1.begin());
    const auto beginPlace = static_cast<std::size_t>(begin - m_columns.reach.begin());
    return {std::min(beginPlace, endPlace), endPlace};
}

std::size_t TrackIndex::compare(
    const ResultBox& box, const Run& run, std::span<Scored> found, std::size_t end) const
{
    const Lanes x1 = allLanes(box.x1);
    const Lanes y1 = allLanes(box.y1);
    const Lanes x2 = allLanes(box.x2);
    const Lanes y2 = allLanes(box.y2);
    const Lanes area = allLanes(areaOf(box));
    const Columns& columns = m_columns;
    for (std::size_t i = run.begin; i < run.end; i += kLanes)
    {
        const Lanes trackX1 = loadLanes(&columns.x1[i]);
        const Lanes trackY1 = loadLanes(&columns.y1[i]);
        const Lanes trackX2 = loadLanes(&columns.x2[i]);
        const Lanes trackY2 = loadLanes(&columns.y2[i]);
        LaneBits overlaps = (trackX1 < x2) & (trackX2 > x1) & (trackY1 < y2) & (trackY2 > y1);
        if (!anyBit(overlaps))
            continue; // as most are
        if (run.end - i < kLanes)
            overlaps &= kLaneNumbers < allLanes(static_cast<std::int32_t>(run.end - i));

        const Lanes width = least(x2, trackX2) - greatest(x1, trackX1);
        const Lanes height = least(y2, trackY2) - greatest(y1, trackY1);
        const Lanes intersection = width * height;
        const Lanes score = intersection / (area + loadLanes(&columns.area[i]) - intersection) /
            loadLanes(&columns.age[i]);
        const LaneBits scored = overlaps & (score > allLanes(0.0f));
        const LaneBits scoreBits = scored & std::bit_cast<LaneBits>(score);
        // Which of them overlap is no pattern that a processor could foresee: all are written, and
        // only those that do are stepped over.
        for (std::size_t j = 0; j < kLanes; ++j)
        {
            found[end] = {static_cast<std::uint32_t>(scoreBits[j]), columns.track[i + j]};
            end += static_cast<std::size_t>(scored[j] & 1);
        }
    }
    return end;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
