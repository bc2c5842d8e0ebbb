#include "core/services.h"

#include <utility>

#include "base/manager_files.h"
#include "inference/protocol.h"
#include "utils/log.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

Services::Services(const std::string& folder, HostSource hostSource) :
    workingDirectory(folder),
    host(std::move(hostSource)),
    pluginSocketPath(pathOfTemporary(protocol::kPluginSocketFile)),
    managerInstallation(workingDirectory, shuttingDown.get_token()),
    runtimesManager(
        workingDirectory + manager_files::kRootFolder + manager_files::kBinFolder,
        shuttingDown.get_token()),
    managerInterface(workingDirectory, &messageBoard, shuttingDown.get_token()),
    modelManager(workingDirectory, &messageBoard, shuttingDown.get_token())
{}

UtilityProviderPtr Services::utilityProvider() const
{
    if (!shuttingDown.stop_requested())
        return {host(), shuttingDown.get_token()};
    log_info("Warning! Tried to access utility provider while shutting down.\n");
    return nullptr;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
