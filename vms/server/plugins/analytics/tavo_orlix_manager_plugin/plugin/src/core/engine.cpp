#include "core/engine.h"

#include <functional>
#include <mutex>
#include <utility>

#include <tavo/sdk/helpers/error.h>

#include "base/ini.h"
#include "base/plugin_version.h"
#include "core/plugin.h"
#include "core/runtime_manager_loop.h"
#include "device_agent/device_agent.h"
#include "device_agent/manifest_builder.h"
#include "inference/plugin_socket_listener.h"
#include "remote/certificates.h"
#include "remote/text_helpers.h"
#include "utils/log.h"
#include "utils/process.h"

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

// With a line each in the log, from the board.
void postIniProblems(MessageBoard& board)
{
    int number = 0;
    for (const Ini::Problem& problem : ini().problems)
    {
        board.postMessage(
            board_key::kIniFile + std::to_string(++number),
            "The ini file has a mistake: " + oneLine(problem.text), MessageType::warning);
    }
}

} // namespace

Engine::Engine(Plugin* plugin, std::string workingDirectory) :
    sdk::analytics::Engine(ini().enableOutput),
    m_workingDirectory(std::move(workingDirectory)),
    m_services(m_workingDirectory, [plugin] { return plugin->utilityProvider(); }),
    m_requests(m_services.messageBoard)
{
    openLog(m_workingDirectory);
    try
    {
        postIniProblems(m_services.messageBoard);
        m_listenerThread = std::thread(
            [this]
            {
                if (takePluginSocket())
                {
                    listenerLoop(
                        m_services.pluginSocketPath, m_listeningSocket,
                        m_services.shuttingDown.get_token(), m_services.deviceAgents);
                }
            });
        m_services.runtimesManager.initialise(m_services.messageBoard);
        log_info("Initialized engine. Plugin version: %s\n", kPluginVersion);
        logCertificateChecks();
    }
    catch (...)
    {
        stopThreads();
        closeLog();
        throw;
    }
}

Engine::~Engine()
{
    stopThreads();
    log_info("Finalizing logging...\n");
    closeLog();
}

bool Engine::takePluginSocket()
{
    return m_services.socketClaim.wait(
        m_services.pluginSocketPath, m_services.shuttingDown.get_token(),
        [this]
        {
            if (!kFilesEndWithJobs)
                m_services.modelManager.deleteLeftCopies();
        });
}

void Engine::stopThreads()
{
    m_services.shuttingDown.request_stop();
    m_services.managerInterface.line().close();

    // Wakes the listener out of its accept. The socket is closed when the listener is gone, so
    // that it never waits on a descriptor that by then is somebody else's.
    const SocketHandle socket = m_listeningSocket.exchange(kInvalidSocket);
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
    m_services.deviceAgents.endThoseLeft(); // by a result that came after the loop's last look
}

sdk::Result<sdk::analytics::IDeviceAgent*> Engine::doObtainDeviceAgent(
    const sdk::analytics::IDeviceInfo* deviceInfo)
{
    return sdk::atBorder(
        [&]() -> sdk::Result<sdk::analytics::IDeviceAgent*>
        {
            if (!deviceInfo || textOrEmpty(deviceInfo->id()).empty())
                return sdk::error(sdk::ErrorCode::invalidParams, "The device has no id");
            return makeDeviceAgent(*deviceInfo);
        });
}

sdk::Result<sdk::analytics::IDeviceAgent*> Engine::makeDeviceAgent(
    const sdk::analytics::IDeviceInfo& deviceInfo)
{
    const std::size_t index = m_services.deviceAgents.reserve(DeviceAgent::deviceIdOf(deviceInfo));
    sdk::Ptr<DeviceAgent> agent;
    try
    {
        // Without a lock: the agent tells the host that it is there.
        agent = sdk::makePtr<DeviceAgent>(&deviceInfo, index, this, m_workingDirectory);
    }
    catch (...)
    {
        removeDeviceAgent(index);
        throw;
    }
    m_services.deviceAgents.add(index, agent.get());
    m_requests.requestConfiguration();
    startRuntimeLoop();
    return sdk::Result<sdk::analytics::IDeviceAgent*>(agent.releasePtr());
}

void Engine::startRuntimeLoop()
{
    const MutexLock lock(m_runtimeLoopMutex);
    if (m_runtimeLoopStarted)
        return;
    m_runtimeLoopThread =
        std::thread(runtimeManagerLoop, std::ref(m_services), std::ref(m_requests));
    m_runtimeLoopStarted = true;
}

std::string Engine::manifestString() const
{
    return engineManifestBuilder();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
