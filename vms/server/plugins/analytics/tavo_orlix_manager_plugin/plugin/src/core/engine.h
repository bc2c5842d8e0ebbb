#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include <tavo/sdk/analytics/helpers/engine.h>
#include <tavo/sdk/i_utility_provider.h>
#include <tavo/sdk/ptr.h>
#include <yyjson.h>

#include "base/assigned_model.h"
#include "base/message_board.h"
#include "device_agent/agent_services.h"
#include "inference/orlix_manager_interface.h"
#include "inference/plugin_socket_listener.h"
#include "models/model_manager.h"
#include "runtimes/manager_installation.h"
#include "runtimes/runtimes_manager.h"
#include "utils/mutex.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class DeviceAgent;
class Plugin;

// The living agents by their index, which is the device number of each; none is owned. It travels
// with frames and results as "InputIndex", so it is not used anew while its agent lives.
using DeviceAgents = std::unordered_map<std::size_t, DeviceAgent*>;

// The one long-lived object of the library: it owns every service that does not belong to a single
// camera, the registry of device agents, and the library's two threads. The listener thread runs
// from the constructor to the destructor; the runtime loop from the first device agent on, so that
// a server with no camera under analytics installs and starts nothing.
//
// Life, threads, registry and results are in engine.cpp; its dialog and what users ask for in
// engine_settings.cpp; the server's record in server_parameters.cpp.
//
// The order of all locks is that of LockLevel. m_deviceAgentsMutex guards the registry and nothing
// else: it is held for a look or a change, and for the whole of a result, whose agent therefore
// cannot go. Host, cloud and storage are waited for without it. An agent that the loop uses is kept
// alive by a reference of the loop's, one agent at a time; if that is the last in the end, the
// agent is destroyed on the loop's thread.
class Engine : public sdk::analytics::Engine, public AgentServices, private ResultReceiver
{
public:
    // `plugin` is not owned and outlives the engine. Throws std::filesystem::filesystem_error when
    // the system has no temporary directory, std::system_error when a thread cannot start.
    Engine(Plugin* plugin, std::string workingDirectory);

    // Waits for both threads; the loop stops the manager application on its way out.
    ~Engine() override;

    // AgentServices:
    [[nodiscard]] sdk::Ptr<sdk::IUtilityProvider> utilityProvider() const override;
    [[nodiscard]] int cloudConnectionState() const override { return m_cloudConnectionState; }
    [[nodiscard]] int hostCustomizationKind() const override { return m_hostCustomizationKind; }
    [[nodiscard]] OrlixManagerInterface& managerInterface() override { return m_managerInterface; }
    [[nodiscard]] ManagerInstallation& managerInstallation() override
    {
        return m_managerInstallation;
    }
    [[nodiscard]] RuntimesManager& runtimesManager() override { return m_runtimesManager; }
    [[nodiscard]] MessageBoard& messageBoard() override { return m_messageBoard; }
    void resetDevices() override;
    void resetDevice(const std::string& deviceId) override;
    void clearCache() override;
    void retryDownloads() override;
    void requestRuntimeReselection() override;
    [[nodiscard]] bool hasDeviceAgent(const std::string& deviceId) const override
        EXCLUDES(m_deviceAgentsMutex);
    void removeDeviceAgent(std::size_t index) override EXCLUDES(m_deviceAgentsMutex);

    // sdk::analytics::Engine:
    sdk::Result<const sdk::ISettingsResponse*> pluginSideSettings() const override;
    sdk::Result<sdk::analytics::IDeviceAgent*> doObtainDeviceAgent(
        const sdk::analytics::IDeviceInfo* deviceInfo) override EXCLUDES(m_deviceAgentsMutex);

protected:
    std::string manifestString() const override;

private:
    friend class RuntimeManagerLoop;

    sdk::Result<sdk::analytics::IDeviceAgent*> makeDeviceAgent(
        const sdk::analytics::IDeviceInfo& deviceInfo) EXCLUDES(m_deviceAgentsMutex);

    // ResultReceiver: the agent gets the result under m_deviceAgentsMutex.
    [[nodiscard]] bool deliverResult(std::uint32_t inputIndex, mpack_node_t root) override
        EXCLUDES(m_deviceAgentsMutex);

    // An index for an agent that is yet to be made; nobody else gets it.
    [[nodiscard]] std::size_t reserveIndex(const std::string& deviceId)
        EXCLUDES(m_deviceAgentsMutex);
    [[nodiscard]] std::size_t freeIndex() const REQUIRES(m_deviceAgentsMutex);

    // For the loop, which asks for one agent after the other: null for one that is gone meanwhile,
    // or whose last reference is.
    [[nodiscard]] std::vector<std::size_t> deviceAgentIndices() const EXCLUDES(m_deviceAgentsMutex);
    [[nodiscard]] sdk::Ptr<DeviceAgent> deviceAgentAt(std::size_t index) const
        EXCLUDES(m_deviceAgentsMutex);

    void startRuntimeLoop() REQUIRES(m_deviceAgentsMutex);
    void stopThreads();

    void requestReset(const std::string& deviceId) EXCLUDES(m_resetMutex);

    // Writes what other clients of the host need to know about this installation to the server's
    // parameters. The loop's; once per life of the engine.
    void patchServerParameters();

    // Whether the site is another one than `server` says, the server's record as it was before
    // patchServerParameters. Unknown counts as unchanged.
    [[nodiscard]] bool siteIdChanged(yyjson_val* server) const;

    // In construction order; destroyed in reverse.
    bool m_runtimeLoopStarted GUARDED_BY(m_deviceAgentsMutex) = false;
    std::thread m_listenerThread;
    mutable Mutex m_deviceAgentsMutex{LockLevel::registry};
    DeviceAgents m_deviceAgents GUARDED_BY(m_deviceAgentsMutex);
    // Of agents that are being made: their device, by the index that they are going to have.
    std::unordered_map<std::size_t, std::string> m_reservedIndices GUARDED_BY(m_deviceAgentsMutex);
    std::atomic<SocketHandle> m_listeningSocket{kInvalidSocket}; // whoever exchanges it closes it
    std::string m_socketPath; // constant after construction
    std::atomic<bool> m_shuttingDown{false};
    Plugin* const m_plugin; // not owned
    std::thread m_runtimeLoopThread;
    AssignedModels m_assignedModels; // the loop thread's
    const std::string m_workingDirectory;
    Mutex m_resetMutex;
    bool m_resetRequested GUARDED_BY(m_resetMutex) = false;
    std::string m_resetDeviceId GUARDED_BY(m_resetMutex); // empty means all devices
    std::atomic<bool> m_clearCacheRequested{false};
    std::atomic<bool> m_retryDownloadsRequested{false};
    std::atomic<bool> m_agentMade{false}; // since the device list was last applied
    MessageBoard m_messageBoard;
    ManagerInstallation m_managerInstallation;
    std::atomic<int> m_cloudConnectionState{0};
    RuntimesManager m_runtimesManager;
    OrlixManagerInterface m_managerInterface;
    ModelManager m_modelManager;
    std::atomic<int> m_hostCustomizationKind{0}; // set when the loop starts
};

} // namespace tavo::vms_server_plugins::analytics::orlix
