#pragma once

#include <cstddef>
#include <string>

#include "base/message_board.h"
#include "inference/orlix_manager_interface.h"
#include "remote/host_rest_client.h"
#include "runtimes/manager_installation.h"
#include "runtimes/runtimes_manager.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// What a device agent needs of its surroundings. They outlive it. Any thread may call, under any of
// the agent's locks but where it says otherwise.
class AgentServices
{
public:
    // The one way to the host: a fresh reference for one operation, or null once shutdown began.
    [[nodiscard]] virtual UtilityProviderPtr utilityProvider() const = 0;

    // kCloudConnected and its like, of remote/cloud_client.h.
    [[nodiscard]] virtual int cloudConnectionState() const = 0;

    // 0: the host's customization is "tavovms", 1: "default", 2: another.
    [[nodiscard]] virtual int hostCustomizationKind() const = 0;

    [[nodiscard]] virtual OrlixManagerInterface& managerInterface() = 0;
    [[nodiscard]] virtual ManagerInstallation& managerInstallation() = 0;
    [[nodiscard]] virtual RuntimesManager& runtimesManager() = 0;
    [[nodiscard]] virtual MessageBoard& messageBoard() = 0;

    // What a user asks of the system as a whole. Each posts its text on the board, sets a flag that
    // is served later on another thread, and clears the warnings.
    virtual void resetDevices() = 0;
    virtual void resetDevice(const std::string& deviceId) = 0;
    virtual void clearCache() = 0;
    virtual void retryDownloads() = 0;
    virtual void requestRuntimeReselection() = 0;

    // Whether there is an agent of that device, or one is being made.
    [[nodiscard]] virtual bool hasDeviceAgent(const std::string& deviceId) const = 0;

    // Called by an agent's destructor, with no lock held: no result comes any more once it
    // returned. An unknown index is ignored.
    virtual void removeDeviceAgent(std::size_t index) = 0;

protected:
    ~AgentServices() = default;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
