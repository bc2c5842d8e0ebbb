// A packet of the camera's encoded stream. Implemented by the host.
#pragma once

#include <tavo/sdk/analytics/i_data_packet.h>

namespace tavo::sdk::analytics
{

class ICompressedVideoPacket : public Interface<ICompressedVideoPacket, IDataPacket>
{
public:
    static constexpr const char* kInterfaceIds[] = {
        "tavo::sdk::analytics::ICompressedVideoPacket1",
        "tavo::sdk::analytics::ICompressedVideoPacket"};

    // the order is the ABI: append only
    virtual const char* codec() const = 0;
    virtual const char* data() const = 0;
    virtual int dataSize() const = 0; // in bytes
};

} // namespace tavo::sdk::analytics
