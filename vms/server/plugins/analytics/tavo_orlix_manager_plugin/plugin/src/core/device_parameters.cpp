// The steps of a pass on a machine in service: the actions that users asked for, and the devices'
// parameters on the host, whose change leads to downloads, a new settings file and a restart of the
// manager application.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/manager_files.h"
#include "core/model_collector.h"
#include "core/runtime_manager_loop.h"
#include "device_agent/device_agent.h"
#include "remote/cloud_client.h"
#include "remote/file_helpers.h"
#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/json.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kClearCacheFailedText[] =
    "The cache could not be cleared whole, so nothing is installed anew. Close the programs that "
    "use files of the plugin's folder 'orlix_manager', and see that the server's user may delete "
    "them. It is tried again by itself.";

} // namespace

bool RuntimeManagerLoop::serveReset()
{
    const std::optional<std::string> deviceId = m_requests.takeReset();
    if (!deviceId)
        return true;
    const std::vector<std::string> deviceIds = deviceId->empty()
        ? getDevicesWithConfiguration(m_services.utilityProvider())
        : std::vector<std::string>{*deviceId};
    resetDevices(m_services.utilityProvider(), deviceIds);
    return false;
}

bool RuntimeManagerLoop::serveClearCache()
{
    if (!m_requests.takeClearCache())
        return true;
    m_state.removal.emplace();
    static_cast<void>(replaceFile(removalMark(), ""));
    static_cast<void>(finishRemoval());
    return false;
}

std::string RuntimeManagerLoop::removalMark() const
{
    return m_services.workingDirectory + manager_files::kRemovalMark;
}

// Until all is gone nothing is installed: what is left would look like an installation.
bool RuntimeManagerLoop::finishRemoval()
{
    if (!m_state.isRemovalLookedFor)
    {
        if (fileExists(removalMark()))
            m_state.removal.emplace();
        m_state.isRemovalLookedFor = true;
    }
    if (!m_state.removal)
        return true;
    if (m_requests.takeClearCache())
        m_state.removal.emplace(); // a user has done something about it
    if (!m_state.removal->isOver())
        return false;
    // First, since a library that is loaded cannot be deleted everywhere.
    stopManager();
    RuntimesManager& runtimes = m_services.runtimesManager;
    const bool runtimeIsGone = runtimes.uninstall();
    if (!m_services.managerInstallation.remove() || !runtimeIsGone)
    {
        m_state.removal->begin();
        m_services.messageBoard.postMessage(
            board_key::kClearCacheFailed, kClearCacheFailedText, MessageType::warning);
        return false;
    }
    m_state.removal.reset();
    deleteFile(removalMark());
    m_services.messageBoard.removeMessage(board_key::kClearCacheFailed);
    runtimes.forgetInstalledRuntime(m_services.messageBoard);
    m_state.lastDevicesParameters.clear();
    // All files are to come anew, those included that the cache had and no update could replace.
    // Nothing else would ask for them: with the warnings, the button for a retry is gone.
    m_services.modelManager.forgetFailedDownloads();
    return true;
}

bool RuntimeManagerLoop::serveRetry(Pass& pass)
{
    pass.retryDownloads = m_requests.seeRetryDownloads();
    if (pass.retryDownloads)
        m_services.modelManager.forgetFailedDownloads();
    return true;
}

bool RuntimeManagerLoop::fetchDevices(Pass& pass)
{
    pass.devicesParameters = getDevicesParameters(m_services.utilityProvider());
    if (!pass.devicesParameters.empty())
        return true;
    log_warning("", "Warning! Could not get devices parameters to test for changes.\n");
    return false;
}

bool RuntimeManagerLoop::applyDevicesIfChanged(Pass& pass)
{
    RuntimesManager& runtimes = m_services.runtimesManager;
    const bool textDiffers = pass.devicesParameters != m_state.lastDevicesParameters;
    const bool runtimeChanged = runtimes.runtimeChanged();
    const bool agentMade = m_requests.configurationIsRequested();
    if (!textDiffers && !runtimeChanged && !pass.retryDownloads && !agentMade)
        return true;
    // The third number is always 0, as operators know it.
    log_info("Parsing devices parameters: %d %d %d\n", textDiffers, runtimeChanged, 0);
    const JsonDocument document = parseJson(pass.devicesParameters);
    if (!document)
    {
        log_warning("", "Error: Failed to parse devices parameters JSON.\n");
        return false;
    }
    if (!yyjson_is_arr(yyjson_doc_get_root(document.get())))
    {
        // An error that the host answers in place of the list: no answer, so what was applied
        // stays.
        log_warning("", "Warning! Could not get devices parameters to test for changes.\n");
        return false;
    }
    if (pass.retryDownloads)
        m_requests.takeRetryDownloads(); // along with one that came after serveRetry
    m_requests.takeConfiguration(); // an agent that comes from here on asks anew
    // Nothing is applied until all is: what ends this pass half way has the next one do it again.
    m_state.lastDevicesParameters.clear();
    const std::string mimeType = runtimes.getMimeType(runtimes.getInstalledRuntimeName());
    applyDevicesParameters(
        yyjson_doc_get_root(document.get()), mimeType, runtimes.runtimeChanged());
    runtimes.clearRuntimeChanged();
    m_state.lastDevicesParameters = std::move(pass.devicesParameters);
    return true;
}

// What is due stays so until it was done, also when a pass ends between these steps.
bool RuntimeManagerLoop::restartIfDue(const Pass& pass)
{
    OrlixManagerInterface& manager = m_services.managerInterface;
    if (manager.retrySettings())
        m_state.isRestartDue = true;
    if (!manager.settingsAreWritten())
        return true; // a restart would change nothing
    if (m_state.isRestartDue && pass.managerStatus == ManagerState::Running)
    {
        log_info("Settings change detected. Restarting runtime\n");
        stopManager();
        startManager();
    }
    m_state.isRestartDue = false;
    return true;
}

// Gives a device's record to its agents, of which there are several while a host obtains the next
// before it drops the last. False when there is none.
bool RuntimeManagerLoop::configureAgents(yyjson_val* device, std::string_view deviceId) const
{
    bool isThere = false;
    for (const std::size_t index : m_services.deviceAgents.indices())
    {
        const auto agent = m_services.deviceAgents.at(index);
        if (!agent || !sameDeviceId(agent->deviceId(), deviceId))
            continue;
        agent->processDeviceParameters(device);
        isThere = true;
    }
    return isThere;
}

void RuntimeManagerLoop::applyDevicesParameters(
    yyjson_val* devices, const std::string& mimeType, bool runtimeChanged)
{
    ModelCollector models(
        m_state.assignedModels, m_services.modelManager, mimeType,
        [this] { return cloudAuthToken(m_services.utilityProvider()); }, m_state.isRestartDue);

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
            resetDevices(m_services.utilityProvider(), {id});
            continue;
        }
        if (!configureAgents(device, id))
            continue;
        yyjson_arr_iter modelIterator = yyjson_arr_iter_with(deviceModels);
        while (yyjson_val* const model = yyjson_arr_iter_next(&modelIterator))
            models.add(model);
    }
    if (m_services.managerInterface.updateSettings(
            models.takeList(), m_state.assignedModels, runtimeChanged))
    {
        m_state.isRestartDue = true;
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
