#include "engine/detection.h"

#include <algorithm>

#include "engine/geometry.h"

namespace tavo::devkit
{

std::vector<Detection> suppressOverlaps(std::vector<Detection> detections, float maxOverlap)
{
    std::stable_sort(
        detections.begin(), detections.end(),
        [](const Detection& a, const Detection& b) { return a.score > b.score; });

    std::vector<Detection> kept;
    for (const Detection& candidate : detections)
    {
        const bool isCovered = std::any_of(
            kept.begin(), kept.end(),
            [&](const Detection& better)
            {
                return better.classIndex == candidate.classIndex &&
                    overlapOf(better.box, candidate.box) > maxOverlap;
            });
        if (!isCovered)
            kept.push_back(candidate);
    }
    return kept;
}

} // namespace tavo::devkit
