// Metadata that the camera itself sent along with its stream. Implemented by the host.
#pragma once

#include <tavo/sdk/analytics/i_data_packet.h>

namespace tavo::sdk::analytics
{

class ICustomMetadataPacket : public Interface<ICustomMetadataPacket, IDataPacket>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::ICustomMetadataPacket"};

    // the order is the ABI: append only
    virtual const char* codec() const = 0;
    virtual const char* data() const = 0;
    virtual int dataSize() const = 0; // in bytes
};

} // namespace tavo::sdk::analytics
