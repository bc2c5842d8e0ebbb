#pragma once

#include <cstddef>
#include <cstdint>

#include "inference/manager_state.h"
#include "runtimes/runtime_status.h"

// What the runtime loop decides, apart from what it then does. No state, no effects.

namespace tavo::vms_server_plugins::analytics::orlix
{

enum class ManagerAction
{
    none,
    start, // and tell the host that the runtime is active
    startReportedInactive, // it has failed too often to be called active
    stop, // and tell the host that the runtime is not active
};

// What the manager application's state and the wish for it ask for; `desired` is Running or
// Stopped, `startCount` that of OrlixManagerInterface.
[[nodiscard]] ManagerAction decideManagerAction(
    ManagerState status, ManagerState desired, std::uint64_t startCount);

enum class RuntimeStep
{
    wait, // for a user, or for a machine with a compatible runtime
    offerChoice, // ask the user
    carryOn, // without a runtime
    installTheOnlyOne,
    installChosen,
};

// What to do about a runtime that is not installed. Nothing is ever picked among several: that is
// the user's. One that failed to install is not tried again by itself.
[[nodiscard]] RuntimeStep decideRuntimeStep(RuntimeStatus status, std::size_t compatibleRuntimes);

} // namespace tavo::vms_server_plugins::analytics::orlix
