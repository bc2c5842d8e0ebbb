#pragma once

// Where the manager application's files lie, from the folder that holds it.

namespace tavo::vms_server_plugins::analytics::orlix::manager_files
{

inline constexpr char kRootFolder[] = "/orlix_manager"; // in the working directory
inline constexpr char kRemovalMark[] =
    "/orlix_manager.removal"; // beside it, until all of it is gone
inline constexpr char kBinFolder[] = "/bin";
inline constexpr char kSettings[] = "/etc/settings.json";
inline constexpr char kModuleLog[] = "/etc/brunmod_start.log";
inline constexpr char kModuleCrashLog[] = "/etc/brunmod_crash.log";
inline constexpr char kEngineLog[] = "/etc/brund_0_start.log";
inline constexpr char kEngineCrashLog[] = "/etc/brund_0_crash.log";

} // namespace tavo::vms_server_plugins::analytics::orlix::manager_files
