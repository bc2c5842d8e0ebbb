#pragma once

namespace tavo::vms_server_plugins::analytics::orlix
{

// The version of the project that this was built from: in the plugin's manifest, its logs, the
// server's parameters and requests.
extern const char* const kPluginVersion;

} // namespace tavo::vms_server_plugins::analytics::orlix
