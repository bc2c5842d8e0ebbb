#pragma once

namespace tavo::vms_server_plugins::analytics::orlix
{

// Where the runtime of this machine stands. The numbers are seen outside the plugin.
enum class RuntimeStatus : int
{
    notSelected = 0,
    waitingForChoice = 1, // among availableRuntimes
    chosen = 2, // chosenRuntime holds the name
    installing = 3,
    installFailed = 4,
    noneCompatible = 5,
    installed = 6,
    reselectRequested = 7,
};

} // namespace tavo::vms_server_plugins::analytics::orlix
