#pragma once

#include <cstdint>

namespace tavo::vms_server_plugins::analytics::orlix
{

// The state of the manager application's process. The numbers are seen outside the plugin.
enum class ManagerState : std::uint32_t
{
    Stopped = 0, // no process: never started, stopped or crashed
    Stopping = 1, // the stop command was sent; waiting for the exit
    Running = 2, // started and last seen alive
    Failed = 3, // the last start failed; a message is on the board
};

} // namespace tavo::vms_server_plugins::analytics::orlix
