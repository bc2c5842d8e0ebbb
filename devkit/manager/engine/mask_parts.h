#pragma once

#include <cstddef>
#include <vector>

#include "engine/grey_plane.h"

namespace tavo::devkit
{

// A connected part of what a mask marks.
struct MaskPart
{
    int left = 0;
    int top = 0;
    int right = 0; // the last column
    int bottom = 0; // the last row
    std::size_t area = 0; // pixels
};

// The parts that the pixels above 0 make up, in the order in which they begin from row to row.
// Pixels that touch at a corner are connected.
[[nodiscard]] std::vector<MaskPart> partsOf(const Plane& mask, Size size);

} // namespace tavo::devkit
