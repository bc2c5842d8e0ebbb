// The part of an engine that does not depend on what it does: keeps settings and handler, logs
// under a prefix, wraps results. Any thread may call.
// What a subclass throws out of an operation that the base class calls is a failed result to the
// host; what the host's handler throws is logged.
#pragma once

#include <map>
#include <string>

#include <tavo/sdk/analytics/i_engine.h>
#include <tavo/sdk/helpers/host_state.h>
#include <tavo/sdk/helpers/output.h>
#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk::analytics
{

class Engine : public RefCountable<IEngine>
{
public:
    // IEngine0:
    void setEngineInfo(const IEngineInfo* engineInfo) override;
    TAVO_RETURNS_OVERRIDE(
        Result<const ISettingsResponse*>, setSettings, const IStringMap* /*settings*/);
    TAVO_RETURNS_CONST_OVERRIDE(Result<const ISettingsResponse*>, pluginSideSettings);
    TAVO_RETURNS_CONST_OVERRIDE(Result<const IString*>, manifest);
    bool isCompatible(const IDeviceInfo* deviceInfo) const override;
    TAVO_RETURNS_OVERRIDE(
        Result<IDeviceAgent*>, doObtainDeviceAgent, const IDeviceInfo* /*deviceInfo*/) = 0;
    void doExecuteAction(Result<const IActionResponse*>* outResult, const IAction* action) override;
    void setHandler(IEngine::IHandler* handler) override;

    // IEngine:
    void reservedOperation() override {}

protected:
    // `enableOutput`: whether lines that only tell what goes on are written. An empty prefix means
    // one made of the library's name.
    explicit Engine(bool enableOutput, std::string printPrefix = {});
    ~Engine() override;

    // the order is the ABI: append only

    // The manifest as JSON.
    virtual std::string manifestString() const = 0;

    // Called after new settings were stored; read them with settingValue or currentSettings.
    virtual Result<const ISettingsResponse*> settingsReceived();

    // What the engine does about an action that was found to be whole. An engine has no dialog with
    // active settings of its own: they reach it as actions, hence the name.
    virtual Result<const IActionResponse*> getSettingsOnActiveSettingChange(
        Ptr<const IAction> action, const std::map<std::string, std::string>& params);

    std::map<std::string, std::string> currentSettings() const { return m_hostState.settings(); }

    // The empty text, with an error logged, for a name that is not there.
    std::string settingValue(const std::string& name) const
    {
        return m_hostState.setting(name, m_output);
    }

    // Tells the people who run the server something; needs the handler.
    void pushIntegrationDiagnosticEvent(
        IIntegrationDiagnosticEvent::Level level, std::string caption,
        std::string description) const;

    // Null before the host has set it.
    Ptr<IEngine::IHandler> handler() const { return m_hostState.handler(); }

    const Output& output() const { return m_output; }

private:
    Result<const IActionResponse*> execute(const IAction* action);

    Output m_output;
    HostState<IEngine::IHandler> m_hostState;
    const std::string m_givenPrintPrefix;
};

} // namespace tavo::sdk::analytics
