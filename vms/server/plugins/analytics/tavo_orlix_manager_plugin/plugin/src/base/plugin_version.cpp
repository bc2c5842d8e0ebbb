#include "base/plugin_version.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

const char* const kPluginVersion = ORLIX_PLUGIN_VERSION; // the build tells it

} // namespace tavo::vms_server_plugins::analytics::orlix
