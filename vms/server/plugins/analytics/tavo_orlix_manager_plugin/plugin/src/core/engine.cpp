#include "core/engine.h"

#include <functional>
#include <mutex>
#include <utility>

#include <tavo/sdk/helpers/error.h>

#include "base/ini.h"
#include "base/manager_files.h"
#include "base/plugin_version.h"
#include "core/plugin.h"
#include "core/runtime_manager_loop.h"
#include "device_agent/device_agent.h"
#include "device_agent/manifest_builder.h"
#include "inference/protocol.h"
#include "utils/log.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// The log is the process's: it opens with the first engine and closes with the last.
std::mutex g_logUsersMutex;
int g_logUsers = 0;

void openLog(const std::string& folder)
{
    const std::lock_guard lock(g_logUsersMutex);
    if (g_logUsers == 0)
    {
        log_init(
            folder + "/orlix_plugin_start.log", folder + "/orlix_plugin.log",
            "ORLIX Plugin: ", ini().logToConsole, ini().logToFile, ini().logVerbosityLevel);
    }
    ++g_logUsers; // not before, since the log may not open for want of memory
}

void closeLog()
{
    const std::lock_guard lock(g_logUsersMutex);
    if (--g_logUsers == 0)
        log_close();
}

} // namespace

Engine::Engine(Plugin* plugin, std::string workingDirectory) :
    sdk::analytics::Engine(ini().enableOutput),
    m_plugin(plugin),
    m_workingDirectory(std::move(workingDirectory)),
    m_managerInstallation(m_workingDirectory),
    m_runtimesManager(m_workingDirectory + manager_files::kRootFolder + manager_files::kBinFolder),
    m_managerInterface(m_workingDirectory, &m_messageBoard),
    m_modelManager(m_workingDirectory, &m_messageBoard)
{
    openLog(m_workingDirectory);
    try
    {
        m_socketPath = pathOfTemporary(protocol::kPluginSocketFile);
        m_listenerThread = std::thread(
            [this] { listenerLoop(m_socketPath, m_listeningSocket, m_shuttingDown, *this); });
        m_runtimesManager.initialise(m_messageBoard);
    }
    catch (...)
    {
        stopThreads();
        closeLog();
        throw;
    }
    log_info("Initialized engine. Plugin version: %s\n", kPluginVersion);
}

Engine::~Engine()
{
    stopThreads();
    log_info("Finalizing logging...\n");
    closeLog();
}

void Engine::stopThreads()
{
    m_shuttingDown = true;

    // Wakes the listener out of its accept. The socket is closed when the listener is gone, so
    // that it never waits on a descriptor that by then is somebody else's.
    const SocketHandle socket = m_listeningSocket.exchange(kInvalidSocket);
    if (socket != kInvalidSocket)
        socket_shutdown(socket);

    log_info("Waiting for socket listener to exit...\n");
    if (m_listenerThread.joinable())
    {
        log_info("Waiting for socket listener to exit...\n"); // twice, as operators know it
        m_listenerThread.join();
        log_info("Socket listener succesfully finished.\n");
    }
    if (socket != kInvalidSocket)
        socket_close(socket);

    if (m_runtimeLoopThread.joinable())
    {
        log_info("Waiting runtime loop to finish...\n");
        m_runtimeLoopThread.join();
        log_info("Runtime loop sucessfully finished.\n");
    }
}

sdk::Result<sdk::analytics::IDeviceAgent*> Engine::doObtainDeviceAgent(
    const sdk::analytics::IDeviceInfo* deviceInfo)
{
    return sdk::withinMemory([&] { return makeDeviceAgent(*deviceInfo); });
}

sdk::Result<sdk::analytics::IDeviceAgent*> Engine::makeDeviceAgent(
    const sdk::analytics::IDeviceInfo& deviceInfo)
{
    const std::size_t index = reserveIndex(DeviceAgent::deviceIdOf(deviceInfo));
    sdk::Ptr<DeviceAgent> agent;
    try
    {
        // Without the lock: the agent tells the host that it is there.
        agent = sdk::makePtr<DeviceAgent>(&deviceInfo, index, this, m_workingDirectory);
    }
    catch (...)
    {
        removeDeviceAgent(index);
        throw;
    }
    MutexLock lock(m_deviceAgentsMutex); // goes before an agent that is dropped on failure
    m_deviceAgents.emplace(index, agent.get());
    m_reservedIndices.erase(index);
    m_agentMade = true;
    startRuntimeLoop();
    return sdk::Result<sdk::analytics::IDeviceAgent*>(agent.releasePtr());
}

std::size_t Engine::reserveIndex(const std::string& deviceId)
{
    MutexLock lock(m_deviceAgentsMutex);
    const std::size_t index = freeIndex();
    m_reservedIndices.emplace(index, deviceId);
    return index;
}

std::size_t Engine::freeIndex() const
{
    std::size_t index = 0;
    while (m_deviceAgents.contains(index) || m_reservedIndices.contains(index))
        ++index;
    return index;
}

void Engine::startRuntimeLoop()
{
    if (m_runtimeLoopStarted)
        return;
    m_runtimeLoopThread = std::thread(runtimeManagerLoop, std::ref(*this));
    m_runtimeLoopStarted = true;
}

void Engine::removeDeviceAgent(std::size_t index)
{
    MutexLock lock(m_deviceAgentsMutex);
    m_deviceAgents.erase(index);
    m_reservedIndices.erase(index);
}

bool Engine::hasDeviceAgent(const std::string& deviceId) const
{
    MutexLock lock(m_deviceAgentsMutex);
    for (const auto& [index, agent] : m_deviceAgents)
    {
        if (agent->deviceId() == deviceId)
            return true;
    }
    for (const auto& [index, reservedFor] : m_reservedIndices)
    {
        if (reservedFor == deviceId)
            return true;
    }
    return false;
}

std::vector<std::size_t> Engine::deviceAgentIndices() const
{
    MutexLock lock(m_deviceAgentsMutex);
    std::vector<std::size_t> indices;
    indices.reserve(m_deviceAgents.size());
    for (const auto& [index, agent] : m_deviceAgents)
        indices.push_back(index);
    return indices;
}

sdk::Ptr<DeviceAgent> Engine::deviceAgentAt(std::size_t index) const
{
    MutexLock lock(m_deviceAgentsMutex);
    const auto entry = m_deviceAgents.find(index);
    // The destructor of one that is in the registry has yet to pass removeDeviceAgent.
    return entry != m_deviceAgents.end() && entry->second->tryAddRef()
        ? sdk::Ptr<DeviceAgent>(entry->second)
        : nullptr;
}

bool Engine::deliverResult(std::uint32_t inputIndex, mpack_node_t root)
{
    MutexLock lock(m_deviceAgentsMutex);
    const auto entry = m_deviceAgents.find(inputIndex);
    if (entry == m_deviceAgents.end())
    {
        log_info("Device agent not found\n");
        return false;
    }
    if (!entry->second)
    {
        log_info("Something went terribly wrong casting device agent\n");
        return false;
    }
    entry->second->handleResultMessage(root);
    return true;
}

sdk::Ptr<sdk::IUtilityProvider> Engine::utilityProvider() const
{
    if (m_shuttingDown)
    {
        log_info("Warning! Tried to access utility provider while shutting down.\n");
        return nullptr;
    }
    return m_plugin->utilityProvider();
}

std::string Engine::manifestString() const
{
    return engineManifestBuilder();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
