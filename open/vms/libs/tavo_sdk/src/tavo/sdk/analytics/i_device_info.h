// How the host knows a camera, as it was when the device agent was asked for. Implemented by the
// host.
#pragma once

#include <stdint.h>

#include <tavo/sdk/interface.h>

namespace tavo::sdk::analytics
{

class IDeviceInfo : public Interface<IDeviceInfo>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IDeviceInfo"};

    // the order is the ABI: append only
    virtual const char* id() const = 0; // a Uuid as text, with or without braces
    virtual const char* vendor() const = 0;
    virtual const char* model() const = 0;
    virtual const char* firmware() const = 0;
    virtual const char* name() const = 0;
    virtual const char* url() const = 0;
    virtual const char* login() const = 0;
    virtual const char* password() const = 0;
    virtual int32_t channelNumber() const = 0; // from 0
    virtual const char* sharedId() const = 0; // the same for all channels of a device
    virtual const char* logicalId() const = 0;
};

} // namespace tavo::sdk::analytics
