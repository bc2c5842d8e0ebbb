#pragma once

#include <atomic>
#include <functional>
#include <stop_token>
#include <string>

#include <tavo/sdk/i_utility_provider.h>
#include <tavo/sdk/ptr.h>

#include "base/message_board.h"
#include "core/device_agents.h"
#include "inference/orlix_manager_interface.h"
#include "inference/plugin_socket_claim.h"
#include "models/model_manager.h"
#include "runtimes/manager_installation.h"
#include "runtimes/runtimes_manager.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// What does not belong to a single camera. The engine owns it and lends it to the runtime loop; who
// may call each of them is said by the thing itself.
struct Services
{
    using HostSource = std::function<sdk::Ptr<sdk::IUtilityProvider>()>;

    // Throws std::filesystem::filesystem_error when the system has no temporary directory.
    Services(const std::string& folder, HostSource hostSource);

    // The one way to the host: a fresh reference for one operation, or null once shutdown began.
    [[nodiscard]] UtilityProviderPtr utilityProvider() const;

    const std::string workingDirectory;
    const HostSource host;
    const std::string pluginSocketPath;
    std::stop_source shuttingDown; // the one shutdown signal; ends every wait of the loop's thread
    DeviceAgents deviceAgents;
    MessageBoard messageBoard;
    PluginSocketClaim socketClaim{messageBoard}; // until the application has ended
    ManagerInstallation managerInstallation;
    std::atomic<int> cloudConnectionState{0}; // the loop's, read by all
    RuntimesManager runtimesManager;
    OrlixManagerInterface managerInterface;
    ModelManager modelManager;
    std::atomic<int> hostCustomizationKind{0}; // set when the loop starts
};

} // namespace tavo::vms_server_plugins::analytics::orlix
