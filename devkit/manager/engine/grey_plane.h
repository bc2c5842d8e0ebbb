#pragma once

#include <cstdint>
#include <vector>

#include "engine/shapes.h"

namespace tavo::devkit
{

// One byte a pixel, row after row without gaps. Every loop over one goes along the rows and holds
// no decision, so that compilers turn it into one over many pixels at once.
using Plane = std::vector<std::uint8_t>;

[[nodiscard]] inline std::size_t areaOf(Size size)
{
    return std::size_t(size.width) * std::size_t(size.height);
}

// The following write into planes that are kept from call to call, so that a frame costs no memory.

// A copy in grey, no larger than the image: each of its pixels is the brightness of the mean colour
// of those that it stands for. The image is not empty, and at most 32,767 pixels wide.
void greyCopy(const RgbImage& rgb, Size size, Plane& grey);

// Each pixel becomes the mean of itself and its neighbours, those at its corners too.
void smooth(Plane& plane, Size size, Plane& spare);

// Each pixel becomes the highest of those up to `reach` columns and rows away.
void spread(Plane& plane, Size size, int reach, Plane& spare);

} // namespace tavo::devkit
