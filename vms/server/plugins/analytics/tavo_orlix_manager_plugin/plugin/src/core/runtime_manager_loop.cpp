#include "core/runtime_manager_loop.h"

#include <chrono>
#include <exception>
#include <utility>
#include <vector>

#include "base/ini.h"
#include "core/loop_decisions.h"
#include "device_agent/device_agent.h"
#include "diagnosis/checks.h"
#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/deadline.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

bool isStart(ManagerAction action)
{
    return action == ManagerAction::start || action == ManagerAction::startReportedInactive;
}

} // namespace

void runtimeManagerLoop(Services& services, Requests& requests)
{
    RuntimeManagerLoop(services, requests).run();
}

RuntimeManagerLoop::RuntimeManagerLoop(
    Services& services, Requests& requests, std::chrono::milliseconds pause) :
    m_services(services),
    m_requests(requests),
    m_pause(pause)
{}

void RuntimeManagerLoop::run()
{
    guarded([this] { m_services.hostCustomizationKind = hostCustomizationKind(); });
    guarded([this] { logSurroundings(); });
    PassEnd end = PassEnd::cutShort;
    while (end != PassEnd::leaveLoop)
        guarded([this, &end] { end = runPass(); });
    log_info("Runtime Manager Loop interrupted.\n");
    guarded([this] { leave(); });
}

void RuntimeManagerLoop::logSurroundings() const
{
    if (!m_services.shuttingDown.stop_requested())
        checkSurroundings(readSurroundings(m_services.workingDirectory)).log();
}

template <class Work>
void RuntimeManagerLoop::guarded(Work work)
{
    try
    {
        work();
    }
    catch (const std::exception& e)
    {
        log_warning(e.what(), "Error in runtimeManagerLoop: %s\n", e.what());
    }
    catch (...)
    {
        log_warning("", "Unknown error in runtimeManagerLoop\n");
    }
}

void RuntimeManagerLoop::leave()
{
    if (m_services.managerInterface.checkRunning(m_services.utilityProvider()) ==
        ManagerState::Running)
    {
        stopManager();
    }
}

RuntimeManagerLoop::PassEnd RuntimeManagerLoop::runPass()
{
    if (!waitForTurn()) // 1
        return PassEnd::leaveLoop;
    m_services.deviceAgents.endThoseLeft();

    Pass pass;
    const bool complete = hostIsReachable() // 2
        && connectToCloud() // 3
        && siteIsKnown() // 4
        && finishRemoval() // of 10, which failed
        && provideManager() // 5
        && checkManager(pass) // 6
        && serveReselection(pass) // 7
        && provideRuntime() // 8
        && serveReset() // 9
        && serveClearCache() // 10
        && serveRetry(pass) // 11
        && fetchDevices(pass) // 12
        && applyDevicesIfChanged(pass) // 13
        && restartIfDue(pass) // 13
        && walkAgents(pass) // 14
        && startOrStopManager(pass); // 15, 16
    return complete ? PassEnd::complete : PassEnd::cutShort;
}

bool RuntimeManagerLoop::waitForTurn()
{
    if (std::exchange(m_state.firstPass, false))
        return !m_services.shuttingDown.stop_requested();
    return sleepUnlessStopped(m_pause, m_services.shuttingDown.get_token());
}

bool RuntimeManagerLoop::hostIsReachable()
{
    if (m_services.utilityProvider())
        return true;
    log_rarely("", "Utility provider not ready yet, or shutting down.\n");
    return false;
}

bool RuntimeManagerLoop::checkManager(Pass& pass)
{
    pass.managerStatus = m_services.managerInterface.checkRunning(m_services.utilityProvider());
    return true;
}

bool RuntimeManagerLoop::walkAgents(Pass& pass)
{
    // A cloud that does not answer is not waited for once for each camera, before the application
    // may start: those that are not asked now are in the passes to come.
    const Deadline patience(std::chrono::seconds(ini().HTTPRequestTimeout));
    for (const std::size_t index : m_services.deviceAgents.indices())
    {
        if (patience.hasPassed() || m_services.shuttingDown.stop_requested())
            break;
        // One at a time, so that no agent outlives the host's last reference for another's request.
        if (const auto agent = m_services.deviceAgents.at(index))
            agent->fetchAvailablePipelines(m_services.messageBoard);
    }
    pass.desired = anyAgentIsActive() ? ManagerState::Running : ManagerState::Stopped;
    return true;
}

bool RuntimeManagerLoop::anyAgentIsActive() const
{
    // Before the lock, which goes before an agent whose last references these are.
    std::vector<sdk::Ptr<DeviceAgent>> agents;
    for (const std::size_t index : m_services.deviceAgents.indices())
    {
        if (auto agent = m_services.deviceAgents.at(index))
            agents.push_back(std::move(agent));
    }
    const MutexLock lock(settingsLock());
    for (const auto& agent : agents)
    {
        if (agent->isActive())
            return true;
    }
    return false;
}

bool RuntimeManagerLoop::startOrStopManager(const Pass& pass)
{
    const std::uint64_t startCount = m_services.managerInterface.startCount();
    const ManagerAction action = decideManagerAction(pass.managerStatus, pass.desired, startCount);
    if (action == ManagerAction::none)
        return true;
    if (isStart(action))
    {
        if (!m_services.socketClaim.isSettled())
            return true; // another host would take its results
        if (!m_services.managerInterface.mayStart())
        {
            startManager(); // which only says why it does not
            if (!std::exchange(m_state.isReportedDead, true))
                patchRuntimeActive(m_services.utilityProvider(), false);
            return true;
        }
    }
    m_state.isReportedDead = false;
    if (isStart(action))
        startManager();
    else
        stopManager();
    patchRuntimeActive(m_services.utilityProvider(), action == ManagerAction::start);
    return true;
}

void RuntimeManagerLoop::startManager()
{
    OrlixManagerInterface& manager = m_services.managerInterface;
    manager.start(m_state.assignedModels, m_services.pluginSocketPath);
    if (manager.state() == ManagerState::Running)
        m_state.areFilesAskedFor = false;
    else if (manager.lacksFiles() && !std::exchange(m_state.areFilesAskedFor, true))
        m_state.lastDevicesParameters.clear(); // the next pass fetches what is missing
}

void RuntimeManagerLoop::stopManager()
{
    m_services.managerInterface.stop(m_state.assignedModels);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
