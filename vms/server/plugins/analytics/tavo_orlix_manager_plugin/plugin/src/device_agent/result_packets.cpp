#include "device_agent/result_packets.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "device_agent/events/events.h"
#include "device_agent/objects/class_objects.h"
#include "device_agent/objects/object_packet.h"
#include "device_agent/pipelines/node_text.h"
#include "inference/protocol.h"
#include "utils/clock.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

namespace key = protocol::key;

constexpr std::int64_t kEventDurationUs = 1'000'000;

// What is beyond it is left out: a result holds up frames and results of all devices while it is
// handled, and no picture has so many objects.
constexpr std::size_t kMaxObjectsOfResult = 1u << 16;

bool isVisualised(const DeviceSettings& settings, const std::string& className)
{
    const auto entry = settings.visualiseClasses.find(className);
    return entry == settings.visualiseClasses.end() || entry->second;
}

} // namespace

// 1. Ignore a result without a timestamp, also one that cannot be read.
// 2. Start the packet of all its events.
// 3. Measure the throughput.
// 4. Make the packet of the objects.
// 5. Add what was counted, scored and detected.
ResultPackets::Packets ResultPackets::make(mpack_node_t root, const DeviceSettings& settings)
{
    const std::uint64_t timestampUs = mpack_node_u64(mpack_node_map_cstr(root, key::kTimestamp));
    if (timestampUs == 0)
    {
        // Without a line end, as operators know it.
        log_warning(m_deviceId, "Warning: Timestamp of 0 received. Ignoring input message.");
        return {};
    }

    Packets packets{nullptr, sdk::makePtr<sdk::analytics::EventMetadataPacket>()};
    packets.events->setTimestampUs(packetTimestampUs(timestampUs));
    packets.events->setDurationUs(kEventDurationUs);

    measureThroughput(timestampUs, *packets.events);
    if (mpack_node_map_contains_cstr(root, key::kBoxes))
        packets.objects = makeObjectPacket(root, timestampUs, settings);
    addEvents(root, *packets.events);
    return packets;
}

void ResultPackets::measureThroughput(
    std::uint64_t timestampUs, sdk::analytics::EventMetadataPacket& events)
{
    const auto figures = m_throughput.note(time_now_us(), m_frameClock.passedAtUs(timestampUs));
    if (!figures)
        return;
    log_rarely(m_deviceId, "Device %s average FPS: %.2fFPS\n", m_deviceId.c_str(), figures->fps);
    addFpsEvent(*figures, events);
}

sdk::Ptr<sdk::analytics::ObjectMetadataPacket> ResultPackets::makeObjectPacket(
    mpack_node_t root, std::uint64_t timestampUs, const DeviceSettings& settings)
{
    const std::int64_t width = mpack_node_i64(mpack_node_map_cstr(root, key::kWidth));
    const std::int64_t height = mpack_node_i64(mpack_node_map_cstr(root, key::kHeight));
    const mpack_node_t boxes = mpack_node_map_cstr(root, key::kBoxes);
    const mpack_node_t metadata = mpack_node_map_cstr_optional(root, key::kObjectsMetaData);
    const std::size_t classCount = mpack_node_map_count(boxes);
    log_debug("Device agent received bboxes classes: %zu\n", classCount);

    ObjectsByClass objects;
    objects.reserve(classCount);
    std::size_t room = kMaxObjectsOfResult;
    std::size_t leftOut = 0;
    MatchingBudget budget;
    for (std::size_t i = 0; i < classCount; ++i)
    {
        const std::string className(readName(mpack_node_map_key_at(boxes, i)));
        if (mpack_node_error(root) != mpack_ok)
            break; // the classes read so far still go out
        if (!isVisualised(settings, className))
        {
            log_debug("Not visualising class: %s\n", className.c_str());
            continue;
        }
        const mpack_node_t classMetadata = metadataWithIds(metadata, className);
        const bool hasIds = !mpack_node_is_missing(classMetadata);
        const mpack_node_t classBoxes = mpack_node_map_value_at(boxes, i);
        log_debug(
            "Class %s has num coordinates: %zu\n", className.c_str(),
            mpack_node_bin_size(classBoxes) / sizeof(float));

        leftOut += countClassObjects(classBoxes);
        auto detections = readClassObjects(classBoxes, classMetadata, className, timestampUs, room);
        room -= detections.size();
        leftOut -= detections.size();
        if (!hasIds)
            m_tracker.trackClass(detections, className, budget);
        // A map that names a class twice has the objects of both entries.
        std::vector<TrackedObject>& objectsOfClass = objects[className];
        if (objectsOfClass.empty())
            objectsOfClass = std::move(detections);
        else
            std::move(detections.begin(), detections.end(), std::back_inserter(objectsOfClass));
    }

    auto packet = buildObjectPacket(objects, timestampUs, width, height, settings);
    if (packet)
        leftOut += kMaxObjectsOfResult - room - static_cast<std::size_t>(packet->count());
    if (leftOut > 0 || budget.isUsedUp)
        tellOfLargeResult(leftOut, room == 0);
    return packet;
}

void ResultPackets::tellOfLargeResult(std::size_t leftOut, bool isTooLarge) const
{
    if (leftOut == 0)
    {
        log_warning(
            m_deviceId,
            "Warning! Device %s: A result has too many objects to follow. Some get new ids.\n",
            m_deviceId.c_str());
        return;
    }
    if (!isTooLarge)
    {
        log_warning(
            m_deviceId,
            "Warning! Device %s: A result has objects whose place is no number. Leaving out %zu.\n",
            m_deviceId.c_str(), leftOut);
        return;
    }
    log_warning(
        m_deviceId, "Warning! Device %s: A result has more than %zu objects. Leaving out %zu.\n",
        m_deviceId.c_str(), kMaxObjectsOfResult, leftOut);
}

void ResultPackets::addEvents(mpack_node_t root, sdk::analytics::EventMetadataPacket& events)
{
    if (mpack_node_map_contains_cstr(root, key::kCounts))
    {
        addCountedEvent(
            readCounts(mpack_node_map_cstr(root, key::kCounts)), m_countHistory, events);
    }
    if (mpack_node_map_contains_cstr(root, key::kScores))
        addCategoryEvent(readBestLabel(mpack_node_map_cstr(root, key::kScores)), events);
    if (mpack_node_map_contains_cstr(root, key::kEvents))
        addCustomEvents(mpack_node_map_cstr(root, key::kEvents), events);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
