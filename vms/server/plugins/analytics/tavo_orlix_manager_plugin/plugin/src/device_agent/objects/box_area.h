#pragma once

#include <cmath>

#include "device_agent/objects/tracked_object.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

[[nodiscard]] inline float areaOf(const ResultBox& box)
{
    return (box.x2 - box.x1) * (box.y2 - box.y1);
}

// Everything else scores 0 or no number with whatever it meets. All numbers of one that has an area
// are finite.
[[nodiscard]] inline bool hasArea(const ResultBox& box)
{
    const float area = areaOf(box);
    return box.x1 < box.x2 && box.y1 < box.y2 && area > 0 && std::isfinite(area);
}

// How far apart they are, in microseconds.
[[nodiscard]] inline float ageOf(const TrackedObject& track, std::uint64_t timestampUs)
{
    const std::uint64_t then = track.timestampUs;
    return static_cast<float>(then < timestampUs ? timestampUs - then : then - timestampUs);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
