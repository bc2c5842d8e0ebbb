#pragma once

#include <vector>

#include "engine/shapes.h"

namespace tavo::devkit
{

// One object that a detector found.
struct Detection
{
    int classIndex = 0; // of the detector's classes
    float score = 0; // 0 to 1
    Box box; // in pixels of the image, inside it
};

// Drops what overlaps a better detection of its class by more than `maxOverlap` (intersection over
// union). Gives the best first.
[[nodiscard]] std::vector<Detection> suppressOverlaps(
    std::vector<Detection> detections, float maxOverlap);

} // namespace tavo::devkit
