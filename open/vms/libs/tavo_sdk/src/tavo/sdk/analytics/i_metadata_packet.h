// What the library has found at a moment of a camera's stream.
#pragma once

#include <tavo/sdk/analytics/i_data_packet.h>

namespace tavo::sdk::analytics
{

class IMetadataPacket : public Interface<IMetadataPacket, IDataPacket>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IMetadataPacket"};

    // the order is the ABI: append only
    virtual int64_t durationUs() const = 0;
};

} // namespace tavo::sdk::analytics
