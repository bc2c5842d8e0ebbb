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
[[nodiscard]] inline PixelRegion regionOfInterest(
    int frameWidth, int frameHeight, const std::vector<float>& cropBox)
{
    const auto pixel = [](int size, float fraction)
    { return size > 0 ? static_cast<std::uint32_t>(static_cast<float>(size) * fraction) : 0; };

    const std::uint32_t left = pixel(frameWidth, cropBox[0]);
    const std::uint32_t top = pixel(frameHeight, cropBox[1]);
    return {left, top, pixel(frameWidth, cropBox[2]) - left, pixel(frameHeight, cropBox[3]) - top};
}

} // namespace tavo::vms_server_plugins::analytics::orlix
