// The events of one moment. Implemented by the library.
#pragma once

#include <tavo/sdk/analytics/i_event_metadata.h>
#include <tavo/sdk/analytics/i_metadata_packet.h>

namespace tavo::sdk::analytics
{

class IEventMetadataPacket : public Interface<IEventMetadataPacket, IMetadataPacket>
{
public:
    static constexpr const char* kInterfaceIds[] = {
        "tavo::sdk::analytics::IEventMetadataPacket1",
        "tavo::sdk::analytics::IEventMetadataPacket"};

    // the order is the ABI: append only
    virtual int count() const = 0;
    virtual const IEventMetadata* at(int index) const = 0; // null out of range
    virtual uint32_t flags() const = 0;
};

} // namespace tavo::sdk::analytics
