// The steps of a pass that bring the machine to where inference can run: cloud connection, first
// configuration of the server, manager application, runtime. A pass that finds a rung missing works
// on it and goes no further.

#include <string>
#include <vector>

#include "core/loop_decisions.h"
#include "core/runtime_manager_loop.h"
#include "remote/cloud_client.h"
#include "remote/host_rest_client.h"
#include "utils/json.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Once connected the engine stays so: this and what hangs on it are done once in its life.
bool RuntimeManagerLoop::connectToCloud()
{
    std::atomic<int>& state = m_services.cloudConnectionState;
    if (state != kCloudConnected)
    {
        log_rarely("", "Checking cloud connection\n");
        checkCloudConnection(state, m_services.utilityProvider());
        if (state != kCloudConnected)
        {
            log_rarely("", "Server/Site not connected to cloud.\n");
            return false;
        }
    }
    return m_state.isServerConfigured || configureServer();
}

bool RuntimeManagerLoop::configureServer()
{
    const JsonDocument document = getServerParameters(m_services.utilityProvider());
    yyjson_val* const server = yyjson_doc_get_root(document.get());
    // Any other answer is no record of a server that is new to us.
    if (!yyjson_is_obj(server) || jsonMember(server, "error"))
    {
        log_warning("", "Error: Failed to get server parameters from API.\n");
        return false;
    }
    const bool firstTime = !pluginParameters(server);
    patchServerParameters();
    m_state.isServerConfigured = true;
    if (firstTime)
    {
        log_info(
            "First time server is being configured. Setting devices to default if necessary.\n");
        resetDevices(
            m_services.utilityProvider(),
            getDevicesWithoutConfiguration(m_services.utilityProvider()));
        return false;
    }
    if (siteIdChanged(server))
    {
        log_info("Detected change in Site ID! Will reset all initialized devices.\n");
        resetDevices(
            m_services.utilityProvider(),
            getDevicesWithConfiguration(m_services.utilityProvider()));
    }
    return true;
}

bool RuntimeManagerLoop::siteIsKnown()
{
    if (cloudSystemId(m_services.utilityProvider()))
        return true;
    log_rarely("", "Could not get the server cloud ID.\n");
    return false;
}

bool RuntimeManagerLoop::provideManager()
{
    ManagerInstallation& installation = m_services.managerInstallation;
    if (installation.managerInstallState() == ManagerInstallState::installed)
        return true;
    log_rarely("", "Checking installation\n");
    switch (installation.checkInstallation())
    {
        case ManagerInstallState::notInstalled:
            installation.install(m_services.messageBoard);
            break;
        case ManagerInstallState::failed:
            // No pass comes to step 10, and only the removal leads out.
            serveClearCache();
            break;
        case ManagerInstallState::installed: // by hand, perhaps
            m_services.messageBoard.removeMessage(board_key::kManagerInstallFailed);
            break;
        default:
            break;
    }
    return false;
}

bool RuntimeManagerLoop::serveReselection(const Pass& pass)
{
    RuntimesManager& runtimes = m_services.runtimesManager;
    if (runtimes.status() != RuntimeStatus::reselectRequested)
        return true;
    if (pass.managerStatus == ManagerState::Running)
    {
        log_info("Reselecting runtime while Orlix Manager is running. Stopping...\n");
        stopManager();
    }
    runtimes.uninstall();
    patchRuntimeInformation(m_services.utilityProvider(), "", "");
    return false;
}

bool RuntimeManagerLoop::provideRuntime()
{
    RuntimesManager& runtimes = m_services.runtimesManager;
    const RuntimeStatus status = runtimes.status();
    if (status == RuntimeStatus::installed)
        return true;
    if (status == RuntimeStatus::reselectRequested) // a moment ago: the next pass serves it
        return false;
    if (runtimes.isRuntimeInstalled())
    {
        runtimes.setStatus(RuntimeStatus::installed);
        return false;
    }
    std::vector<std::string> compatible = runtimes.getCompatibleRuntimes("");
    switch (decideRuntimeStep(runtimes.status(), compatible.size()))
    {
        case RuntimeStep::wait:
            return false;
        case RuntimeStep::offerChoice:
            runtimes.setAvailableRuntimes(std::move(compatible));
            runtimes.setStatus(RuntimeStatus::waitingForChoice);
            return false;
        case RuntimeStep::carryOn:
            break;
        case RuntimeStep::installTheOnlyOne:
            installRuntime(compatible.front());
            break;
        case RuntimeStep::installChosen:
            installRuntime(runtimes.chosenRuntime());
            break;
    }
    return true;
}

// The name is saved and told to the host even if the download failed; the status then says so. It
// is not laid beside a library of another package, which would then count as installed.
void RuntimeManagerLoop::installRuntime(const std::string& name)
{
    if (name.empty())
        return;
    RuntimesManager& runtimes = m_services.runtimesManager;
    runtimes.install(name, m_services.messageBoard, /*useSubfolder*/ false);
    if (runtimes.installedNameStays())
        return;
    runtimes.saveInstalledRuntimeName(name);
    patchRuntimeInformation(m_services.utilityProvider(), name, runtimes.getMimeType(name));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
