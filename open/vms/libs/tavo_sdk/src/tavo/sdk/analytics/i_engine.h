// The library's one long-lived object, which makes a device agent for each camera.
// Implemented by the library; the host calls on any thread.
#pragma once

#include <tavo/sdk/analytics/i_action.h>
#include <tavo/sdk/analytics/i_device_agent.h>
#include <tavo/sdk/analytics/i_device_info.h>
#include <tavo/sdk/analytics/i_engine_info.h>
#include <tavo/sdk/i_action_response.h>
#include <tavo/sdk/i_integration_diagnostic_event.h>
#include <tavo/sdk/i_settings_response.h>
#include <tavo/sdk/result.h>

namespace tavo::sdk::analytics
{

class IEngine0 : public IRefCountable
{
public:
    // What the engine hands to the host. Implemented by the host; any thread may call.
    class IHandler : public Interface<IHandler>
    {
    public:
        static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IEngine::IHandler"};

        // the order is the ABI: append only
        virtual void handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* event) = 0;
    };

    // the order is the ABI: append only

    virtual void setEngineInfo(const IEngineInfo* engineInfo) = 0;
    TAVO_RETURNS(Result<const ISettingsResponse*>, setSettings, const IStringMap* settings);

    // Asked for whenever the settings dialog is opened; a null value means nothing to add.
    TAVO_RETURNS_CONST(Result<const ISettingsResponse*>, pluginSideSettings);

    // A JSON text that says what the engine can do.
    TAVO_RETURNS_CONST(Result<const IString*>, manifest);

    virtual bool isCompatible(const IDeviceInfo* deviceInfo) const = 0;
    TAVO_RETURNS(Result<IDeviceAgent*>, doObtainDeviceAgent, const IDeviceInfo* deviceInfo);

    // Fills `outResult`, whose references go to the caller.
    virtual void doExecuteAction(
        Result<const IActionResponse*>* outResult, const IAction* action) = 0;

    virtual void setHandler(IHandler* handler) = 0;
};

class IEngine : public Interface<IEngine, IEngine0>
{
public:
    static constexpr const char* kInterfaceIds[] = {
        "tavo::sdk::analytics::IEngine", "tavo::sdk::analytics::IEngine1"};

    // the order is the ABI: append only
    virtual void reservedOperation() = 0;
};

} // namespace tavo::sdk::analytics
