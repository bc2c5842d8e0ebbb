// The objects of one moment. Implemented by the library.
#pragma once

#include <tavo/sdk/analytics/i_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata.h>

namespace tavo::sdk::analytics
{

class IObjectMetadataPacket : public Interface<IObjectMetadataPacket, IMetadataPacket>
{
public:
    static constexpr const char* kInterfaceIds[] = {
        "tavo::sdk::analytics::IObjectMetadataPacket1",
        "tavo::sdk::analytics::IObjectMetadataPacket"};

    // the order is the ABI: append only
    virtual int count() const = 0;
    virtual const IObjectMetadata* at(int index) const = 0; // null out of range
    virtual uint32_t flags() const = 0;
};

} // namespace tavo::sdk::analytics
