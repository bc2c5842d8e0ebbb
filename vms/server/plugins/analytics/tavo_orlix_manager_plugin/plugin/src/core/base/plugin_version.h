#pragma once

namespace tavo::vms_server_plugins::analytics::orlix
{

// The one version of the plugin: in its manifest, its logs, the server's parameters and requests.
inline constexpr char kPluginVersion[] = "4.6.66";

} // namespace tavo::vms_server_plugins::analytics::orlix
