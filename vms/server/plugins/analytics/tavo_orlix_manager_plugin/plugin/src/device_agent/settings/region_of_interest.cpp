#include "device_agent/settings/region_of_interest.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

PixelRegion regionOfInterest(int frameWidth, int frameHeight, const std::vector<float>& cropBox)
{
    const auto pixel = [](int size, float fraction)
    { return size > 0 ? static_cast<std::uint32_t>(static_cast<float>(size) * fraction) : 0; };

    PixelRegion region;
    region.left = pixel(frameWidth, cropBox[0]);
    region.top = pixel(frameHeight, cropBox[1]);
    region.width = pixel(frameWidth, cropBox[2]) - region.left;
    region.height = pixel(frameHeight, cropBox[3]) - region.top;
    return region;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
