#include "core/runtime_manager_loop.h"

#include <exception>
#include <thread>

#include "core/engine.h"
#include "core/loop_decisions.h"
#include "device_agent/device_agent.h"
#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

bool anyAgentIsActive(const DeviceAgents& agents)
{
    for (const auto& [index, agent] : agents)
    {
        if (!agent)
        {
            log_info("Something went terribly wrong casting a DeviceAgent %zu\n", index);
            continue;
        }
        const FairMutexLock lock(settingsLock());
        if (agent->isActive())
            return true;
    }
    return false;
}

} // namespace

void runtimeManagerLoop(Engine& engine)
{
    RuntimeManagerLoop(engine).run();
}

RuntimeManagerLoop::RuntimeManagerLoop(Engine& engine, std::chrono::milliseconds pause) :
    m_engine(engine),
    m_pause(pause)
{}

void RuntimeManagerLoop::run()
{
    guarded([this] { m_engine.m_hostCustomizationKind = hostCustomizationKind(); });
    PassEnd end = PassEnd::cutShort;
    while (end != PassEnd::leaveLoop)
        guarded([this, &end] { end = runPass(); });
    log_info("Runtime Manager Loop interrupted.\n");
    guarded([this] { leave(); });
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
        log_info("Error in runtimeManagerLoop: %s\n", e.what());
    }
    catch (...)
    {
        log_info("Unknown error in runtimeManagerLoop\n");
    }
}

void RuntimeManagerLoop::leave()
{
    if (m_engine.m_managerInterface.checkRunning(m_engine.utilityProvider()) ==
        ManagerState::Running)
    {
        stopManager();
    }
}

RuntimeManagerLoop::PassEnd RuntimeManagerLoop::runPass()
{
    if (!waitForTurn()) // 1
        return PassEnd::leaveLoop;

    Pass pass;
    const bool complete = hostIsReachable() // 2
        && connectToCloud() // 3
        && siteIsKnown() // 4
        && provideManager() // 5
        && checkManager(pass) // 6
        && serveReselection(pass) // 7
        && provideRuntime() // 8
        && serveReset() // 9
        && serveClearCache(pass) // 10
        && serveRetry(pass) // 11
        && fetchDevices(pass) // 12
        && applyDevicesIfChanged(pass) // 13
        && walkAgents(pass) // 14
        && startOrStopManager(pass); // 15, 16
    return complete ? PassEnd::complete : PassEnd::cutShort;
}

bool RuntimeManagerLoop::waitForTurn()
{
    if (m_engine.m_shuttingDown)
        return false;
    if (m_state.firstPass)
    {
        m_state.firstPass = false;
        return true;
    }
    std::this_thread::sleep_for(m_pause);
    return !m_engine.m_shuttingDown;
}

bool RuntimeManagerLoop::hostIsReachable()
{
    if (m_engine.utilityProvider())
        return true;
    log_info("Utility provider not ready yet, or shutting down.\n");
    return false;
}

bool RuntimeManagerLoop::checkManager(Pass& pass)
{
    pass.managerStatus = m_engine.m_managerInterface.checkRunning(m_engine.utilityProvider());
    return true;
}

bool RuntimeManagerLoop::walkAgents(Pass& pass)
{
    MutexLock lock(m_engine.m_deviceAgentsMutex);
    for (const auto& [index, agent] : m_engine.m_deviceAgents)
    {
        if (agent)
            agent->fetchAvailablePipelines(m_engine.m_messageBoard);
        else
            log_info("Something went terribly wrong casting a DeviceAgent %zu\n", index);
    }
    pass.desired =
        anyAgentIsActive(m_engine.m_deviceAgents) ? ManagerState::Running : ManagerState::Stopped;
    return true;
}

bool RuntimeManagerLoop::startOrStopManager(const Pass& pass)
{
    const std::uint64_t startCount = m_engine.m_managerInterface.startCount();
    switch (decideManagerAction(pass.managerStatus, pass.desired, startCount))
    {
        case ManagerAction::none:
            break;
        case ManagerAction::start:
            startManager();
            patchRuntimeActive(m_engine.utilityProvider(), true);
            break;
        case ManagerAction::startReportedInactive:
            startManager();
            patchRuntimeActive(m_engine.utilityProvider(), false);
            break;
        case ManagerAction::stop:
            stopManager();
            patchRuntimeActive(m_engine.utilityProvider(), false);
            break;
    }
    return true;
}

void RuntimeManagerLoop::startManager()
{
    m_engine.m_managerInterface.start(m_engine.m_assignedModels, m_engine.m_socketPath);
}

void RuntimeManagerLoop::stopManager()
{
    m_engine.m_managerInterface.stop(m_engine.m_assignedModels);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
