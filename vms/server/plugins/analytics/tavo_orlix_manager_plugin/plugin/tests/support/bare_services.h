#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/manager_files.h"
#include "device_agent/agent_services.h"
#include "device_agent/settings/device_settings.h"
#include "remote/cloud_client.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The services of an agent without an engine: real ones, in a folder of the caller's, and neither a
// loop nor a listener behind them. What a user asked for is kept. Requests come on one thread.
class BareServices final : public AgentServices
{
public:
    explicit BareServices(const std::string& workingDirectory) :
        m_managerInstallation(workingDirectory),
        m_runtimesManager(
            workingDirectory + manager_files::kRootFolder + manager_files::kBinFolder),
        m_managerInterface(workingDirectory, &m_messageBoard)
    {}

    sdk::Ptr<sdk::IUtilityProvider> provider; // may be null; to be set before use
    std::atomic<int> cloudState{kCloudNeverChecked};
    std::function<void()> removing = [] {}; // called by an agent's destructor

    // "resetDevice ID", "clearCache" and their like since the last call.
    std::vector<std::string> takeRequests() { return std::exchange(m_requests, {}); }

    // AgentServices:
    UtilityProviderPtr utilityProvider() const override { return provider; }
    int cloudConnectionState() const override { return cloudState; }
    int hostCustomizationKind() const override
    {
        const MutexLock lock(settingsLock()); // no dialog is drawn under it
        return 0;
    }
    OrlixManagerInterface& managerInterface() override { return m_managerInterface; }
    ManagerInstallation& managerInstallation() override { return m_managerInstallation; }
    RuntimesManager& runtimesManager() override { return m_runtimesManager; }
    MessageBoard& messageBoard() override { return m_messageBoard; }
    void resetDevices() override { m_requests.emplace_back("resetDevices"); }
    void resetDevice(const std::string& deviceId) override
    {
        m_requests.push_back("resetDevice " + deviceId);
    }
    void clearCache() override { m_requests.emplace_back("clearCache"); }
    void retryDownloads() override { m_requests.emplace_back("retryDownloads"); }
    void requestRuntimeReselection() override
    {
        m_requests.emplace_back("requestRuntimeReselection");
    }
    bool hasDeviceAgent(const std::string&) const override { return false; }
    void removeDeviceAgent(std::size_t index) override
    {
        m_requests.push_back("removeDeviceAgent " + std::to_string(index));
        removing();
    }

private:
    MessageBoard m_messageBoard;
    ManagerInstallation m_managerInstallation;
    RuntimesManager m_runtimesManager;
    OrlixManagerInterface m_managerInterface;
    std::vector<std::string> m_requests;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
