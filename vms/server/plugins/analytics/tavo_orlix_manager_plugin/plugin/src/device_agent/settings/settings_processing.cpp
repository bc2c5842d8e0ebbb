// What the user entered: how it is stored, applied and answered. The host is asked and told, and
// the disk written, without settingsLock(), so frames, results and other settings may come in
// between.

#include <string>
#include <utility>
#include <vector>

#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/settings_response.h>
#include <tavo/sdk/ptr.h>

#include "device_agent/device_agent.h"
#include "device_agent/manifest_builder.h"
#include "device_agent/pipelines/model_nms.h"
#include "device_agent/settings/settings_cache.h"
#include "remote/host_rest_client.h"
#include "utils/json.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

std::vector<std::string> patchesOf(const DeviceSettings& settings, const std::string& uuid)
{
    std::vector<std::string> patches;
    for (const PipelineOption& option : settings.availablePipelines)
    {
        if (option.uuid == uuid)
            patches.push_back(option.patch);
    }
    return patches;
}

} // namespace

// 1. Apply the values.
// 2. Write changed sensitivities to the host. They work once the host's record comes back through
//    the runtime loop.
// 3. Tell the host the new manifest and the new dialog.
sdk::Result<const sdk::ISettingsResponse*> DeviceAgent::settingsReceived()
{
    log_debug("Settings received from user\n");
    const SettingValues current = currentSettings();
    applySettings();

    NmsChanges changes;
    {
        const MutexLock lock(settingsLock());
        if (m_parsedPipelines.wereThere())
            changes = readNmsChanges(m_settings.modelNms, current);
    }
    if (changes.changed)
        writeModelNms(changes.values);

    {
        const MutexLock lock(settingsLock());
        m_manifestsToPush.put(m_settings);
        m_settingsReceivedOnce = true;
    }
    auto response = sdk::makePtr<sdk::SettingsResponse>();
    response->setModel(drawModel());
    pushManifests();
    response->setValues(current);
    log_debug("Done processing GUI settings\n");
    return response.releasePtr();
}

std::string DeviceAgent::drawModel() const
{
    MutexLock lock(settingsLock());
    const DeviceSettings settings = m_settings;
    const AgentErrors errors = m_agentErrors;
    lock.unlock();
    return settingsModelBuilder(*m_services, errors, settings);
}

void DeviceAgent::applySettings()
{
    std::vector<std::string> patches;
    {
        const MutexLock lock(settingsLock());
        SettingValues current = currentSettings();
        checkSettingValues(current); // throws before anything of the call is kept
        for (const auto& [name, value] : current)
            m_settingsValues[name] = value;
        m_valuesToSave.put(m_settingsValues);
        const std::string& selected = current[setting::kSelectedPipeline];
        if (!selected.empty() && selected != m_settings.selectedPipeline)
        {
            log_info("Detected change in pipeline selection.\n");
            patches = patchesOf(m_settings, selected);
        }
    }
    m_valuesToSave.flush([this](const SettingValues& values)
                         { saveSettingsCache(m_settingsCachePath, values); });
    for (const std::string& patch : patches)
    {
        patchDevice(m_services->utilityProvider(), patch, m_deviceId);
        const JsonDocument document = parseJson(patch);
        log_info("Processing new parameters\n");
        processDeviceParameters(yyjson_doc_get_root(document.get()));
    }

    const MutexLock lock(settingsLock());
    // Read anew: while the host was waited for, the user may have entered others.
    SettingValues current = currentSettings();
    applySettingValues(current, m_settings);
    if (const std::string& selected = current[setting::kSelectedPipeline]; !selected.empty())
        m_settings.selectedPipeline = selected;
}

sdk::Result<const sdk::ISettingsResponse*> DeviceAgent::pluginSideSettings() const
{
    log_debug("Fetching plugin side settings\n");
    return sdk::atBorder([this] { return drawDialog(); });
}

sdk::Result<const sdk::ISettingsResponse*> DeviceAgent::drawDialog() const
{
    SettingValues values;
    {
        const MutexLock lock(settingsLock());
        values = m_settingsValues;
        // Before a pipeline was read there is none to show: an empty one would be applied with the
        // dialog and erase the choice.
        if (m_settings.selectedPipeline.empty())
            values.erase(setting::kSelectedPipeline);
        else
            values[setting::kSelectedPipeline] = m_settings.selectedPipeline;
    }

    auto response = sdk::makePtr<sdk::SettingsResponse>();
    response->setModel(drawModel());
    response->setValues(values);
    return response.releasePtr();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
