#include "engine/watches.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "engine/geometry.h"

namespace tavo::devkit
{
namespace
{

// Nearer to the line than this part of its height, or these pixels, nobody has crossed it yet.
constexpr float kLineMargin = 0.05f;
constexpr float kMinLineMargin = 2;

// A box that still overlaps as much as this with where it came to rest has not moved.
constexpr float kRestOverlap = 0.6f;

// A box that overlaps as much as this with one of the reference was there before.
constexpr float kReferenceOverlap = 0.3f;

bool overlapsAny(const Box& box, const auto& boxes, float least, auto boxOf)
{
    return std::any_of(
        boxes.begin(), boxes.end(),
        [&](const auto& other) { return overlapOf(box, boxOf(other)) >= least; });
}

} // namespace

std::vector<SeenObject> withinMasks(std::vector<SeenObject> objects, const InputFrame& frame)
{
    if (frame.masks.empty())
        return objects;
    std::erase_if(
        objects,
        [&](const SeenObject& object)
        {
            const bool isInside = std::any_of(
                frame.masks.begin(), frame.masks.end(),
                [&](const Polygon& mask) { return contains(mask, footPoint(object.box)); });
            return isInside == frame.masksExclude;
        });
    return objects;
}

bool crossesLine(Track& track, const Polygon& line)
{
    const Point foot = footPoint(track.box);
    const float margin = std::max(kMinLineMargin, kLineMargin * track.box.height);
    if (distanceToLine(line, foot) < margin)
        return false;
    const std::optional<Point> before = std::exchange(track.clearOfLine, foot);
    if (!before)
        return false;
    for (std::size_t i = 1; i < line.size(); ++i)
    {
        if (waysCross(*before, foot, line[i - 1], line[i]))
            return true;
    }
    return false;
}

bool loiters(Track& track, const StayWatch& watch, std::uint64_t timestampUs)
{
    if (track.hasLoitered || track.className != watch.objectClass ||
        timestampUs - track.firstSeenUs < watch.thresholdUs)
    {
        return false;
    }
    track.hasLoitered = true;
    return true;
}

std::vector<const Track*> DumpingWatch::update(
    const InputFrame& frame, const std::vector<SeenObject>& seen,
    std::vector<const Track*>& reports)
{
    if (!m_reference)
        m_background.forget();
    std::vector<SeenObject> objects = candidates(frame, seen);
    if (!m_reference)
    {
        m_reference.emplace();
        for (const SeenObject& object : objects)
            m_reference->push_back(object.box);
    }
    std::erase_if(
        objects,
        [&](const SeenObject& object)
        {
            return overlapsAny(
                object.box, *m_reference, kReferenceOverlap, [](const auto& box) { return box; });
        });

    std::vector<const Track*> left;
    for (Track* const track : m_tracker.update(objects, frame.timestampUs))
    {
        if (overlapOf(track->box, track->restBox) < kRestOverlap)
        {
            track->restBox = track->box;
            track->restingSinceUs = frame.timestampUs;
        }
        if (frame.timestampUs - track->restingSinceUs < frame.dumping->thresholdUs)
            continue;
        left.push_back(track);
        if (!std::exchange(track->isReportedLeft, true))
            reports.push_back(track);
    }
    return left;
}

std::vector<SeenObject> DumpingWatch::candidates(
    const InputFrame& frame, const std::vector<SeenObject>& seen)
{
    std::vector<SeenObject> found;
    const std::string& wanted = frame.dumping->objectClass;
    if (wanted == kAnyObject)
    {
        for (const Box& box : m_background.differences(frame.rgb))
        {
            // Somebody who stands about is not left behind.
            if (!overlapsAny(
                    box, seen, kReferenceOverlap, [](const auto& object) { return object.box; }))
            {
                found.push_back({wanted, 1, box});
            }
        }
        return withinMasks(std::move(found), frame);
    }
    std::copy_if(
        seen.begin(), seen.end(), std::back_inserter(found),
        [&](const SeenObject& object) { return object.className == wanted; });
    return found;
}

} // namespace tavo::devkit
