// What the library keeps for one camera. Implemented by the library.
#pragma once

#include <tavo/sdk/analytics/i_metadata_packet.h>
#include <tavo/sdk/i_active_setting_changed_action.h>
#include <tavo/sdk/i_active_setting_changed_response.h>
#include <tavo/sdk/i_integration_diagnostic_event.h>
#include <tavo/sdk/i_settings_response.h>
#include <tavo/sdk/result.h>

namespace tavo::sdk::analytics
{

class IDeviceAgent : public Interface<IDeviceAgent>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IDeviceAgent"};

    // What the device agent hands to the host. Implemented by the host; any thread may call.
    class IHandler : public Interface<IHandler>
    {
    public:
        static constexpr const char* kInterfaceIds[] = {
            "tavo::sdk::analytics::IDeviceAgent::IHandler"};

        // the order is the ABI: append only

        // Takes over a reference to the packet: the host releases it when it is done.
        virtual void handleMetadata(IMetadataPacket* metadataPacket) = 0;

        virtual void handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* event) = 0;

        // A JSON text that replaces the device's manifest.
        virtual void pushManifest(const IString* manifest) = 0;
    };

    // the order is the ABI: append only

    TAVO_RETURNS(Result<const ISettingsResponse*>, setSettings, const IStringMap* settings);

    // Asked for whenever the settings dialog is opened; a null value means nothing to add.
    TAVO_RETURNS_CONST(Result<const ISettingsResponse*>, pluginSideSettings);

    // A JSON text: the types of metadata that the device can have.
    TAVO_RETURNS_CONST(Result<const IString*>, manifest);

    virtual void setHandler(IHandler* handler) = 0;
};

} // namespace tavo::sdk::analytics
