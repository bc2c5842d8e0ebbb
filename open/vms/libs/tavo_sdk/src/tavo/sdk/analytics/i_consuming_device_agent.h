// A device agent that takes the camera's data. Implemented by the library.
#pragma once

#include <tavo/sdk/analytics/i_data_packet.h>
#include <tavo/sdk/analytics/i_device_agent.h>
#include <tavo/sdk/analytics/i_metadata_types.h>

namespace tavo::sdk::analytics
{

class IConsumingDeviceAgent0 : public Interface<IConsumingDeviceAgent0, IDeviceAgent>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IConsumingDeviceAgent2"};

    // the order is the ABI: append only

    virtual void setNeededMetadataTypes(const IMetadataTypes* metadataTypes) = 0;

    // Takes one packet of the camera's stream, on the host's thread for this camera. Fills
    // `outResult`, whose references go to the caller.
    virtual void doPushDataPacket(Result<void>* outResult, IDataPacket* dataPacket) = 0;
};

class IConsumingDeviceAgent1 : public Interface<IConsumingDeviceAgent1, IConsumingDeviceAgent0>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IConsumingDeviceAgent1"};

    // the order is the ABI: append only

    // The host will push nothing more; it releases its reference some time later.
    virtual void finalize() = 0;
};

class IConsumingDeviceAgent : public Interface<IConsumingDeviceAgent, IConsumingDeviceAgent1>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IConsumingDeviceAgent"};

    // the order is the ABI: append only

    // Fills `outResult`, whose references go to the caller; a null value changes nothing in the
    // dialog.
    virtual void getSettingsOnActiveSettingChange(
        Result<const IActiveSettingChangedResponse*>* outResult,
        const IActiveSettingChangedAction* action) = 0;
};

} // namespace tavo::sdk::analytics
