#include "device_agent/objects/track_grid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "device_agent/objects/box_area.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void TrackGrid::build(std::span<const TrackedObject> tracks)
{
    m_tracks = tracks;
    m_comparisons = 0;
    choosePlaces();
    markStrips();
}

std::span<TrackGrid::WordStrips> TrackGrid::words()
{
    return std::span(m_words).first((m_tracks.size() + kWordTracks - 1) / kWordTracks);
}

// The strips cut what lies between the outermost boxes.
void TrackGrid::choosePlaces()
{
    Lanes lowest = allLanes(std::numeric_limits<float>::max());
    Lanes highest = -lowest;
    for (std::size_t i = 0; i < m_tracks.size(); ++i)
    {
        const ResultBox& box = m_tracks[i].box;
        const bool isBox = hasArea(box);
        m_places[i].box = box;
        m_places[i].area = isBox ? areaOf(box) : 0;
        if (!isBox)
            continue;
        lowest = least(lowest, std::bit_cast<Lanes>(box));
        highest = greatest(highest, std::bit_cast<Lanes>(box));
    }
    const auto scaleOf = [](float size)
    { return std::isfinite(size) ? static_cast<float>(kStrips) / size : 0.0f; };
    const float scaleX = scaleOf(highest[2] - lowest[0]);
    const float scaleY = scaleOf(highest[3] - lowest[1]);
    m_origin = Lanes{lowest[0], lowest[1], lowest[0], lowest[1]};
    m_scale = Lanes{scaleX, scaleY, scaleX, scaleY};
}

void TrackGrid::markStrips()
{
    for (WordStrips& word : words())
        word = {};
    for (std::size_t i = 0; i < m_tracks.size(); ++i)
    {
        if (m_places[i].area == 0)
            continue;
        const LaneBits strips = stripsOf(m_places[i].box);
        WordStrips& word = m_words[i / kWordTracks];
        const Word bit = Word{1} << i % kWordTracks;
        word.beginningX[static_cast<std::size_t>(strips[0])] |= bit;
        word.beginningY[static_cast<std::size_t>(strips[1])] |= bit;
        word.endingX[static_cast<std::size_t>(strips[2])] |= bit;
        word.endingY[static_cast<std::size_t>(strips[3])] |= bit;
    }
    for (WordStrips& word : words())
    {
        for (std::size_t i = 1; i < kStrips; ++i)
        {
            word.beginningX[i] |= word.beginningX[i - 1];
            word.beginningY[i] |= word.beginningY[i - 1];
            word.endingX[kStrips - 1 - i] |= word.endingX[kStrips - i];
            word.endingY[kStrips - 1 - i] |= word.endingY[kStrips - i];
        }
    }
}

void TrackGrid::setTime(std::uint64_t timestampUs)
{
    for (std::size_t i = 0; i < m_tracks.size(); ++i)
        m_places[i].age = ageOf(m_tracks[i], timestampUs);
}

// Of x1, y1, x2 and y2. Whatever the scale, even 0 or infinite: of two numbers the greater one
// never lies in an earlier strip, so that no overlap is missed.
LaneBits TrackGrid::stripsOf(const ResultBox& box) const
{
    const Lanes places = (std::bit_cast<Lanes>(box) - m_origin) * m_scale;
    const Lanes bounded =
        least(greatest(places, allLanes(0.0f)), allLanes(static_cast<float>(kStrips - 1)));
    return __builtin_convertvector(bounded, LaneBits);
}

std::size_t TrackGrid::findOverlapping(
    const ResultBox& box, std::vector<Scored>& found, std::size_t begin)
{
    if (!hasArea(box))
        return begin;
    if (found.size() < begin + m_tracks.size() + 1)
        found.resize(2 * (begin + kMaxTracks));
    Scored* end = found.data() + begin;
    const float area = areaOf(box);
    const LaneBits strips = stripsOf(box);
    const auto x1 = static_cast<std::size_t>(strips[0]);
    const auto y1 = static_cast<std::size_t>(strips[1]);
    const auto x2 = static_cast<std::size_t>(strips[2]);
    const auto y2 = static_cast<std::size_t>(strips[3]);
    std::uint32_t firstTrack = 0;
    for (const WordStrips& word : words())
    {
        Word near = word.beginningX[x2] & word.endingX[x1] & word.beginningY[y2] & word.endingY[y1];
        for (; near != 0; near &= near - 1)
        {
            const std::uint32_t track =
                firstTrack + static_cast<std::uint32_t>(std::countr_zero(near));
            const Place& place = m_places[track];
            const float width = std::min(box.x2, place.box.x2) - std::max(box.x1, place.box.x1);
            const float height = std::min(box.y2, place.box.y2) - std::max(box.y1, place.box.y1);
            const float intersection = width * height;
            const float score = intersection / (area + place.area - intersection) / place.age;
            // Whether it does overlap is no pattern that a processor could foresee: all are
            // written, and only those that do are stepped over.
            *end = {std::bit_cast<std::uint32_t>(score), track};
            end += (width > 0) & (height > 0) & (score > 0);
            ++m_comparisons;
        }
        firstTrack += kWordTracks;
    }
    return static_cast<std::size_t>(end - found.data());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
