// The buttons of the settings dialog. The requests to the engine only set flags and board entries,
// which the model drawn behind them already shows.

#include <string>
#include <string_view>
#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/helpers/action_response.h>
#include <tavo/sdk/helpers/active_setting_changed_response.h>
#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/settings_response.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/ptr.h>

#include "device_agent/device_agent.h"
#include "device_agent/dialog/settings_model_builder.h"
#include "remote/text_helpers.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

void setAllVisualisations(SettingValues& values, const char* value)
{
    for (auto& [name, present] : values)
    {
        if (name.starts_with(setting::kVisualisePrefix))
            present = value;
    }
}

// Opens no page by itself: the host does, without its proxy and the device's credentials.
sdk::Ptr<sdk::ActionResponse> openPage(const std::string& url)
{
    log_info("Opening URL: %s\n", url.c_str());
    auto response = sdk::makePtr<sdk::ActionResponse>();
    response->setActionUrl(url);
    return response;
}

} // namespace

void DeviceAgent::getSettingsOnActiveSettingChange(
    sdk::Result<const sdk::IActiveSettingChangedResponse*>* outResult,
    const sdk::IActiveSettingChangedAction* action)
{
    log_debug("Active settings triggered\n");
    if (!kit::verify(outResult, "outResult"))
        return;
    *outResult = sdk::atBorder([&] { return serveAction(action); });
}

sdk::Result<const sdk::IActiveSettingChangedResponse*> DeviceAgent::serveAction(
    const sdk::IActiveSettingChangedAction* action)
{
    if (!action)
        return sdk::error(sdk::ErrorCode::invalidParams, "Action is null");
    const std::string name = textOrEmpty(action->activeSettingName());
    log_debug("Active setting name: %s\n", name.c_str());

    if (name == button::kReferenceRun)
    {
        m_services->managerInterface().sendReferenceRun();
        return {}; // the dialog stays as it is
    }

    auto response = sdk::makePtr<sdk::ActiveSettingChangedResponse>();
    if (name == button::kManageDevice)
    {
        MutexLock lock(settingsLock());
        const std::string url = m_settings.adminUrl;
        lock.unlock();
        response->setActionResponse(openPage(url));
    }
    else
    {
        SettingValues values;
        const sdk::Ptr<const sdk::IStringMap> present(action->settingsValues());
        static_cast<void>(sdk::toStdMap(present.get(), &values)); // none is no failure
        carryOut(name, values);

        auto settingsResponse = sdk::makePtr<sdk::SettingsResponse>();
        settingsResponse->setValues(values);
        settingsResponse->setModel(drawModel());
        response->setSettingsResponse(std::move(settingsResponse));
    }
    return response.releasePtr();
}

// A name that is not known only gets the dialog drawn anew.
void DeviceAgent::carryOut(const std::string& buttonName, SettingValues& values)
{
    if (buttonName == button::kSelectAll)
        setAllVisualisations(values, "true");
    else if (buttonName == button::kDeselectAll)
        setAllVisualisations(values, "false");
    else if (buttonName == button::kReselectRuntime)
        m_services->requestRuntimeReselection();
    else if (buttonName.starts_with(button::kRuntimeChoicePrefix))
    {
        const std::string runtime =
            buttonName.substr(std::string_view(button::kRuntimeChoicePrefix).size());
        m_services->runtimesManager().chooseRuntime(runtime);
        log_info("User chose: %s\n", oneLine(runtime).c_str());
    }
    else if (buttonName == button::kResetSingleDevice)
        m_services->resetDevice(m_deviceId);
    else if (buttonName == button::kResetAllDevices)
        m_services->resetDevices();
    else if (buttonName == button::kClearCache)
        m_services->clearCache();
    else if (buttonName == button::kModelDownloadRetry)
        m_services->retryDownloads();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
