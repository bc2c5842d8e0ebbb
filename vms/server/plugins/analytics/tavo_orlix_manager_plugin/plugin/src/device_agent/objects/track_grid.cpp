#include "device_agent/objects/track_grid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "device_agent/objects/box_area.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr std::size_t kUnsorted = 256; // so few tracks are looked through sooner than sorted
constexpr std::size_t kSampleSize = 64;

} // namespace

void TrackGrid::build(std::span<const TrackedObject> tracks)
{
    m_tracks = tracks;
    m_comparisons = 0;
    fillPlaces();
    sortPlaces();
    chooseStrips();
    markStrips();
}

void TrackGrid::fillPlaces()
{
    m_places.clear();
    for (std::uint32_t i = 0; i < m_tracks.size(); ++i)
    {
        const ResultBox& box = m_tracks[i].box;
        if (hasArea(box))
            m_places.push_back({box, areaOf(box), 0, i});
    }
}

void TrackGrid::sortPlaces()
{
    m_begins.clear();
    m_ends.clear();
    if (m_places.size() <= kUnsorted)
        return;
    std::sort(
        m_places.begin(), m_places.end(),
        [](const Place& a, const Place& b) { return a.box.x1 < b.box.x1; });
    for (std::size_t i = 0; i < m_places.size(); ++i)
    {
        if (i % kWordPlaces == 0)
        {
            m_begins.push_back(m_places[i].box.x1);
            m_ends.push_back(m_places[i].box.x2);
        }
        m_ends.back() = std::max(m_ends.back(), m_places[i].box.x2);
    }
}

// The strips cut what lies between the outermost boxes. Of many tracks, which their order tells
// apart from left to right, most lie between these from top to bottom: one far away is not to make
// all strips too wide.
void TrackGrid::chooseStrips()
{
    Lanes lowest = allLanes(std::numeric_limits<float>::max());
    Lanes highest = -lowest;
    for (const Place& place : m_places)
    {
        lowest = least(lowest, std::bit_cast<Lanes>(place.box));
        highest = greatest(highest, std::bit_cast<Lanes>(place.box));
    }
    if (!m_begins.empty())
    {
        std::array<float, kSampleSize> tops{};
        for (std::size_t i = 0; i < kSampleSize; ++i)
            tops[i] = m_places[i * m_places.size() / kSampleSize].box.y1;
        std::sort(tops.begin(), tops.end());
        lowest[1] = tops[kSampleSize / 16];
        highest[3] = tops[kSampleSize - 1 - kSampleSize / 16];
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
    m_words.assign((m_places.size() + kWordPlaces - 1) / kWordPlaces, {});
    for (std::size_t i = 0; i < m_places.size(); ++i)
    {
        const LaneBits strips = stripsOf(m_places[i].box);
        Word& word = m_words[i / kWordPlaces];
        const Bits bit = Bits{1} << i % kWordPlaces;
        word.beginningX[static_cast<std::size_t>(strips[0])] |= bit;
        word.beginningY[static_cast<std::size_t>(strips[1])] |= bit;
        word.endingX[static_cast<std::size_t>(strips[2])] |= bit;
        word.endingY[static_cast<std::size_t>(strips[3])] |= bit;
    }
    for (Word& word : m_words)
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
    for (Place& place : m_places)
        place.age = ageOf(m_tracks[place.track], timestampUs);
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
    std::size_t last = m_words.size();
    const bool isSorted = !m_begins.empty();
    if (isSorted)
    {
        last = static_cast<std::size_t>(
            std::lower_bound(m_begins.begin(), m_begins.end(), box.x2) - m_begins.begin());
    }
    const std::size_t room = begin + last * kWordPlaces + 1;
    if (found.size() < room)
        found.resize(2 * room);
    Scored* end = found.data() + begin;
    const float area = areaOf(box);
    const LaneBits strips = stripsOf(box);
    const auto x1 = static_cast<std::size_t>(strips[0]);
    const auto y1 = static_cast<std::size_t>(strips[1]);
    const auto x2 = static_cast<std::size_t>(strips[2]);
    const auto y2 = static_cast<std::size_t>(strips[3]);
    for (std::size_t i = 0; i < last; ++i)
    {
        if (isSorted)
        {
            if (m_ends[i] <= box.x1)
                continue;
            ++m_comparisons;
        }
        const Word& word = m_words[i];
        Bits near = word.beginningX[x2] & word.endingX[x1] & word.beginningY[y2] & word.endingY[y1];
        for (; near != 0; near &= near - 1)
        {
            const Place& place =
                m_places[i * kWordPlaces + static_cast<std::size_t>(std::countr_zero(near))];
            const float width = std::min(box.x2, place.box.x2) - std::max(box.x1, place.box.x1);
            const float height = std::min(box.y2, place.box.y2) - std::max(box.y1, place.box.y1);
            const float intersection = width * height;
            const float score = intersection / (area + place.area - intersection) / place.age;
            // Whether it does overlap is no pattern that a processor could foresee: all are
            // written, and only those that do are stepped over.
            *end = {std::bit_cast<std::uint32_t>(score), place.track};
            end += (width > 0) & (height > 0) & (score > 0);
            ++m_comparisons;
        }
    }
    return static_cast<std::size_t>(end - found.data());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
