#include "device_agent/objects/object_packet.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include <tavo/sdk/analytics/helpers/object_metadata.h>
#include <tavo/sdk/helpers/attribute.h>

#include "device_agent/objects/object_block.h"
#include "device_agent/type_ids.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Results carry no score for their boxes.
constexpr float kConfidence = 1.0f;

void fill(sdk::analytics::ObjectMetadata& metadata, const TrackedObject& object)
{
    metadata.setTrackId(object.trackId);
    metadata.setConfidence(kConfidence);
    for (const auto& [name, value] : object.attributes)
        metadata.addAttribute(sdk::makePtr<sdk::Attribute>(name, value, kConfidence));
}

bool isFinite(const sdk::analytics::Rect& rect)
{
    // A width that is finite has two edges that are, and so has a height.
    return std::isfinite(rect.width) && std::isfinite(rect.height);
}

} // namespace

sdk::Ptr<sdk::analytics::ObjectMetadataPacket> buildObjectPacket(
    const ObjectsByClass& objects, std::uint64_t timestampUs, std::int64_t width,
    std::int64_t height, const DeviceSettings& settings)
{
    if (objects.empty())
        return nullptr;

    auto packet = sdk::makePtr<sdk::analytics::ObjectMetadataPacket>();
    packet->setTimestampUs(packetTimestampUs(timestampUs));
    packet->setDurationUs(1);
    std::size_t count = 0;
    for (const auto& [className, objectsOfClass] : objects)
        count += objectsOfClass.size();
    packet->reserve(count);
    const auto block = sdk::makePtr<ObjectBlock>(count);
    for (const auto& [className, objectsOfClass] : objects)
    {
        block->beginType(objectTypeId(className));
        for (const TrackedObject& object : objectsOfClass)
        {
            const sdk::analytics::Rect box = frameBox(
                object.box, static_cast<float>(width), static_cast<float>(height),
                settings.cropBox);
            if (!isFinite(box))
                continue;
            auto metadata = block->add();
            fill(*metadata, object);
            metadata->setBoundingBox(box);
            packet->addItem(std::move(metadata));
        }
    }
    return packet;
}

sdk::analytics::Rect frameBox(
    const ResultBox& box, float width, float height, const std::vector<float>& cropBox)
{
    sdk::analytics::Rect rect;
    rect.x = box.x1 / width;
    rect.y = box.y1 / height;
    rect.width = std::fabs(box.x2 - box.x1) / width;
    rect.height = std::fabs(box.y2 - box.y1) / height;
    if (!cropBox.empty())
    {
        // So far fractions of the cropped image.
        const float cropWidth = cropBox[2] - cropBox[0];
        const float cropHeight = cropBox[3] - cropBox[1];
        rect.x = cropWidth * rect.x + cropBox[0];
        rect.y = cropHeight * rect.y + cropBox[1];
        rect.width *= cropWidth;
        rect.height *= cropHeight;
    }
    return rect;
}

std::int64_t packetTimestampUs(std::uint64_t timestampUs)
{
    constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::min(timestampUs, kMax));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
