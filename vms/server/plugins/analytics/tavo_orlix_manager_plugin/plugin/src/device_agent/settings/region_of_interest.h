#pragma once

#include <cstdint>
#include <vector>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A rectangle of whole pixels inside a frame.
struct PixelRegion
{
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

// The region that `cropBox` (x1, y1, x2, y2, fractions in 0 to 1 with x1 <= x2 and y1 <= y2) cuts
// out of a frame. Each corner is cut to a whole pixel by itself, and width or height may come to 0.
[[nodiscard]] PixelRegion regionOfInterest(
    int frameWidth, int frameHeight, const std::vector<float>& cropBox);

} // namespace tavo::vms_server_plugins::analytics::orlix
