#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

#include <tavo/sdk/analytics/helpers/engine.h>

#include "core/requests.h"
#include "core/services.h"
#include "device_agent/agent_services.h"
#include "utils/mutex.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class Plugin;

// The one long-lived object of the library: it owns every service that does not belong to a single
// camera, the registry of device agents, and the library's two threads. The listener thread runs
// from the constructor to the destructor; the runtime loop from the first device agent on, so that
// a server with no camera under analytics installs and starts nothing.
//
// Host, cloud and storage are waited for under no lock of the engine's.
class Engine : public sdk::analytics::Engine, public AgentServices
{
public:
    // `plugin` is not owned and outlives the engine. Throws std::filesystem::filesystem_error when
    // the system has no temporary directory, std::system_error when a thread cannot start.
    Engine(Plugin* plugin, std::string workingDirectory);

    // Waits for both threads, which end beside each other, 8 seconds at most but for the time
    // inside calls of the host's; the loop stops the manager application on its way out.
    ~Engine() override;

    // AgentServices:
    [[nodiscard]] UtilityProviderPtr utilityProvider() const override
    {
        return m_services.utilityProvider();
    }
    [[nodiscard]] int cloudConnectionState() const override
    {
        return m_services.cloudConnectionState;
    }
    [[nodiscard]] int hostCustomizationKind() const override
    {
        return m_services.hostCustomizationKind;
    }
    [[nodiscard]] OrlixManagerInterface& managerInterface() override
    {
        return m_services.managerInterface;
    }
    [[nodiscard]] ManagerInstallation& managerInstallation() override
    {
        return m_services.managerInstallation;
    }
    [[nodiscard]] RuntimesManager& runtimesManager() override { return m_services.runtimesManager; }
    [[nodiscard]] MessageBoard& messageBoard() override { return m_services.messageBoard; }
    void resetDevices() override { m_requests.requestReset(""); }
    void resetDevice(const std::string& deviceId) override { m_requests.requestReset(deviceId); }
    void clearCache() override { m_requests.requestClearCache(); }
    void retryDownloads() override { m_requests.requestRetryDownloads(); }
    void requestRuntimeReselection() override
    {
        m_services.runtimesManager.setStatus(RuntimeStatus::reselectRequested);
    }
    [[nodiscard]] bool hasDeviceAgent(const std::string& deviceId) const override
    {
        return m_services.deviceAgents.has(deviceId);
    }
    void removeDeviceAgent(std::size_t index) override { m_services.deviceAgents.remove(index); }

    // sdk::analytics::Engine:
    sdk::Result<const sdk::ISettingsResponse*> pluginSideSettings() const override;
    sdk::Result<sdk::analytics::IDeviceAgent*> doObtainDeviceAgent(
        const sdk::analytics::IDeviceInfo* deviceInfo) override;

protected:
    std::string manifestString() const override;

private:
    sdk::Result<sdk::analytics::IDeviceAgent*> makeDeviceAgent(
        const sdk::analytics::IDeviceInfo& deviceInfo);
    void startRuntimeLoop() EXCLUDES(m_runtimeLoopMutex);
    [[nodiscard]] bool takePluginSocket();
    void stopThreads();

    // In construction order; destroyed in reverse.
    const std::string m_workingDirectory;
    Services m_services;
    Requests m_requests;
    std::atomic<SocketHandle> m_listeningSocket{kInvalidSocket}; // whoever exchanges it closes it
    std::thread m_listenerThread;
    Mutex m_runtimeLoopMutex;
    std::thread m_runtimeLoopThread; // guarded until the destructor
    bool m_runtimeLoopStarted GUARDED_BY(m_runtimeLoopMutex) = false;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
