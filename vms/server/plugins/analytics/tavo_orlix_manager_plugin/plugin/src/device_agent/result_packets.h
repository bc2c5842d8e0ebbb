#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <mpack.h>

#include <tavo/sdk/analytics/helpers/event_metadata_packet.h>
#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>
#include <tavo/sdk/ptr.h>

#include "device_agent/events/count_history.h"
#include "device_agent/events/throughput.h"
#include "device_agent/frame_clock.h"
#include "device_agent/objects/tracker.h"
#include "device_agent/settings/device_settings.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Makes of a device's results what the host gets, with what is kept from one to the next: tracks,
// counts, throughput. One result at a time.
class ResultPackets
{
public:
    struct Packets
    {
        sdk::Ptr<sdk::analytics::ObjectMetadataPacket> objects; // may be null, as the next
        sdk::Ptr<sdk::analytics::EventMetadataPacket> events;
    };

    // Both are the agent's and outlive this object.
    ResultPackets(const std::string& deviceId, const FrameClock& frameClock) :
        m_deviceId(deviceId),
        m_frameClock(frameClock)
    {}

    // `root` is a decoded result message; what cannot be read leaves its tree in error.
    [[nodiscard]] Packets make(mpack_node_t root, const DeviceSettings& settings)
        REQUIRES(settingsLock());

private:
    void measureThroughput(std::uint64_t timestampUs, sdk::analytics::EventMetadataPacket& events)
        REQUIRES(settingsLock());
    [[nodiscard]] sdk::Ptr<sdk::analytics::ObjectMetadataPacket> makeObjectPacket(
        mpack_node_t root, std::uint64_t timestampUs, const DeviceSettings& settings)
        REQUIRES(settingsLock());
    void tellOfLargeResult(std::size_t leftOut, bool isTooLarge) const;
    void addEvents(mpack_node_t root, sdk::analytics::EventMetadataPacket& events)
        REQUIRES(settingsLock());

    const std::string& m_deviceId;
    const FrameClock& m_frameClock;
    Throughput m_throughput GUARDED_BY(settingsLock());
    Tracker m_tracker GUARDED_BY(settingsLock());
    CountHistory m_countHistory GUARDED_BY(settingsLock());
};

} // namespace tavo::vms_server_plugins::analytics::orlix
