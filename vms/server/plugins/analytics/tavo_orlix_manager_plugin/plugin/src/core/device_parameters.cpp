// The steps of a pass on a machine in service: the actions that users asked for, and the devices'
// parameters on the host, whose change leads to downloads, a new settings file and a restart of the
// manager application.

#include <string>
#include <utility>
#include <vector>

#include "core/engine.h"
#include "core/model_collector.h"
#include "core/runtime_manager_loop.h"
#include "device_agent/device_agent.h"
#include "remote/cloud_client.h"
#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/json.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

bool RuntimeManagerLoop::serveReset()
{
    std::string deviceId;
    {
        MutexLock lock(m_engine.m_resetMutex);
        if (!std::exchange(m_engine.m_resetRequested, false))
            return true;
        deviceId = m_engine.m_resetDeviceId;
    }
    m_engine.m_messageBoard.removeMessage(board_key::kResetDevice);
    const std::vector<std::string> deviceIds = deviceId.empty()
        ? getDevicesWithConfiguration(m_engine.utilityProvider())
        : std::vector<std::string>{deviceId};
    resetDevices(m_engine.utilityProvider(), deviceIds);
    return false;
}

bool RuntimeManagerLoop::serveClearCache(const Pass& pass)
{
    if (!m_engine.m_clearCacheRequested.exchange(false))
        return true;
    m_engine.m_messageBoard.removeMessage(board_key::kClearCache);
    m_engine.m_runtimesManager.uninstall();
    if (pass.managerStatus == ManagerState::Running)
        stopManager();
    m_engine.m_managerInstallation.remove();
    // All files are to come anew, those included that the cache had and no update could replace.
    // Nothing else would ask for them: with the warnings, the button for a retry is gone.
    m_engine.m_modelManager.forgetFailedDownloads();
    return false;
}

// The flag stays set until the device list was there to be served with it.
bool RuntimeManagerLoop::serveRetry(Pass& pass)
{
    pass.retryDownloads = m_engine.m_retryDownloadsRequested;
    if (pass.retryDownloads)
    {
        m_engine.m_messageBoard.removeMessage(board_key::kRetryDownloads);
        m_engine.m_modelManager.forgetFailedDownloads();
    }
    return true;
}

bool RuntimeManagerLoop::fetchDevices(Pass& pass)
{
    pass.devicesParameters = getDevicesParameters(m_engine.utilityProvider());
    if (!pass.devicesParameters.empty())
        return true;
    log_info("Warning! Could not get devices parameters to test for changes.\n");
    return false;
}

bool RuntimeManagerLoop::applyDevicesIfChanged(Pass& pass)
{
    RuntimesManager& runtimes = m_engine.m_runtimesManager;
    const bool textDiffers = pass.devicesParameters != m_state.lastDevicesParameters;
    const bool runtimeChanged = runtimes.runtimeChanged();
    const bool agentMade = m_engine.m_agentMade;
    if (!textDiffers && !runtimeChanged && !pass.retryDownloads && !agentMade)
        return true;
    // The third number is always 0, as operators know it.
    log_info("Parsing devices parameters: %d %d %d\n", textDiffers, runtimeChanged, 0);
    const JsonDocument document = parseJson(pass.devicesParameters);
    if (!document)
    {
        log_info("Error: Failed to parse devices parameters JSON.\n");
        return false;
    }
    if (!yyjson_is_arr(yyjson_doc_get_root(document.get())))
    {
        // An error that the host answers in place of the list: no answer, so what was applied
        // stays.
        log_info("Warning! Could not get devices parameters to test for changes.\n");
        return false;
    }
    if (pass.retryDownloads)
    {
        // A request that came after serveRetry is served along with the one before it.
        m_engine.m_retryDownloadsRequested = false;
        m_engine.m_messageBoard.removeMessage(board_key::kRetryDownloads);
    }
    m_engine.m_agentMade = false; // an agent that comes from here on asks anew
    // Nothing is applied until all is: what ends this pass half way has the next one do it again.
    m_state.lastDevicesParameters.clear();
    const std::string mimeType = runtimes.getMimeType(runtimes.getInstalledRuntimeName());
    m_state.isRestartDue |= applyDevicesParameters(
        yyjson_doc_get_root(document.get()), mimeType, runtimes.runtimeChanged());
    runtimes.clearRuntimeChanged();
    if (m_state.isRestartDue && pass.managerStatus == ManagerState::Running)
    {
        log_info("Settings change detected. Restarting runtime\n");
        stopManager();
        startManager();
    }
    m_state.isRestartDue = false;
    if (m_engine.m_managerInterface.settingsAreWritten())
        m_state.lastDevicesParameters = std::move(pass.devicesParameters);
    return true;
}

sdk::Ptr<DeviceAgent> RuntimeManagerLoop::findAgent(std::string_view deviceId) const
{
    for (const std::size_t index : m_engine.deviceAgentIndices())
    {
        auto agent = m_engine.deviceAgentAt(index);
        if (agent && sameDeviceId(agent->deviceId(), deviceId))
            return agent;
    }
    return nullptr;
}

// True when something changed that needs a restart of the manager application.
bool RuntimeManagerLoop::applyDevicesParameters(
    yyjson_val* devices, const std::string& mimeType, bool runtimeChanged)
{
    ModelCollector models(
        m_engine.m_assignedModels, m_engine.m_modelManager, mimeType,
        [this] { return cloudAuthToken(m_engine.utilityProvider()); });

    yyjson_arr_iter deviceIterator = yyjson_arr_iter_with(devices);
    while (yyjson_val* const device = yyjson_arr_iter_next(&deviceIterator))
    {
        const std::string id(jsonText(jsonMember(device, "id")));
        yyjson_val* const parameters = pluginParameters(device);
        if (id.empty() || !parameters)
            continue;
        yyjson_val* const deviceModels = jsonMember(parameters, "models");
        if (!deviceModels || !jsonMember(parameters, "pipelines"))
        {
            log_info(
                "Device %s does not have models or pipelines parameters yet. Resetting configuration.\n",
                id.c_str());
            resetDevices(m_engine.utilityProvider(), {id});
            continue;
        }
        auto agent = findAgent(id);
        if (!agent)
            continue;
        agent->processDeviceParameters(device);
        agent.reset(); // its models may take long
        yyjson_arr_iter modelIterator = yyjson_arr_iter_with(deviceModels);
        while (yyjson_val* const model = yyjson_arr_iter_next(&modelIterator))
            models.add(model);
    }
    const bool downloaded = models.downloaded();
    const bool rewritten = m_engine.m_managerInterface.updateSettings(
        models.takeList(), m_engine.m_assignedModels, runtimeChanged);
    return downloaded || rewritten;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
