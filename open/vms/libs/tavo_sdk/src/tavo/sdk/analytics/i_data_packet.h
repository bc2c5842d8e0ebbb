// Anything that carries a moment of a camera's stream.
#pragma once

#include <stdint.h>

#include <tavo/sdk/interface.h>

namespace tavo::sdk::analytics
{

class IDataPacket : public Interface<IDataPacket>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IDataPacket"};

    // the order is the ABI: append only
    virtual int64_t timestampUs() const = 0; // since the epoch
};

} // namespace tavo::sdk::analytics
