#pragma once

#include <cstdint>
#include <vector>

#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>
#include <tavo/sdk/analytics/rect.h>
#include <tavo/sdk/ptr.h>

#include "device_agent/objects/tracked_object.h"
#include "device_agent/settings/device_settings.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The objects of one result as the host takes them, but for those whose box comes to numbers that
// are not finite; null when there is no class. `width` and `height` are those of the boxes'
// coordinate space. The caller holds settingsLock(): the crop box
// in force is the present one, not that of the moment when the frame left.
[[nodiscard]] sdk::Ptr<sdk::analytics::ObjectMetadataPacket> buildObjectPacket(
    const ObjectsByClass& objects, std::uint64_t timestampUs, std::int64_t width,
    std::int64_t height, const DeviceSettings& settings);

// A box in fractions of the whole frame. `cropBox` is empty or x1, y1, x2, y2. Nothing is clamped.
[[nodiscard]] sdk::analytics::Rect frameBox(
    const ResultBox& box, float width, float height, const std::vector<float>& cropBox);

// The host counts time with a sign; what is beyond it becomes the largest time.
[[nodiscard]] std::int64_t packetTimestampUs(std::uint64_t timestampUs);

} // namespace tavo::vms_server_plugins::analytics::orlix
