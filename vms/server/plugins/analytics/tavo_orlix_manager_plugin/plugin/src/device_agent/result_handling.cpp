// The road of a result: from a decoded message to the packets that the host gets. All of it runs
// on the listener's thread: the making of the packets under settingsLock(), the host's handler
// without a lock.

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tavo/sdk/ptr.h>

#include "device_agent/device_agent.h"
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
// 6. Hand over the objects, then the events.
void DeviceAgent::handleResultMessage(mpack_node_t root)
{
    Packets packets;
    {
        const MutexLock lock(settingsLock());
        packets = makePackets(root);
    }
    if (packets.objects)
        pushMetadataPacket(std::move(packets.objects));
    if (packets.events)
        pushMetadataPacket(std::move(packets.events));
}

DeviceAgent::Packets DeviceAgent::makePackets(mpack_node_t root)
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
        packets.objects = makeObjectPacket(root, timestampUs);
    addEvents(root, *packets.events);
    return packets;
}

void DeviceAgent::measureThroughput(
    std::uint64_t timestampUs, sdk::analytics::EventMetadataPacket& events)
{
    const auto figures = m_throughput.note(time_now_us(), m_frameClock.passedAtUs(timestampUs));
    if (!figures)
        return;
    log_rarely(m_deviceId, "Device %s average FPS: %.2fFPS\n", m_deviceId.c_str(), figures->fps);
    addFpsEvent(*figures, events);
}

sdk::Ptr<sdk::analytics::ObjectMetadataPacket> DeviceAgent::makeObjectPacket(
    mpack_node_t root, std::uint64_t timestampUs)
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
        if (!isVisualised(m_settings, className))
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

    auto packet = buildObjectPacket(objects, timestampUs, width, height, m_settings);
    if (packet)
        leftOut += kMaxObjectsOfResult - room - static_cast<std::size_t>(packet->count());
    if (leftOut > 0 || budget.isUsedUp)
        tellOfLargeResult(leftOut, room == 0);
    return packet;
}

void DeviceAgent::tellOfLargeResult(std::size_t leftOut, bool isTooLarge)
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

void DeviceAgent::addEvents(mpack_node_t root, sdk::analytics::EventMetadataPacket& events)
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
