#pragma once

#include <algorithm>
#include <string_view>

#include "device_agent/settings/device_settings.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The processors of a pipeline that mean something to the plugin; all others are the application's
// matter.
inline constexpr std::string_view kIllegalDumpingProcessor = "Illegal Dumping";
inline constexpr std::string_view kLoiteringProcessor = "LoiteringDetection";
inline constexpr std::string_view kLineCrossingProcessor = "LineCrossing";

[[nodiscard]] inline bool hasProcessor(const DeviceSettings& settings, std::string_view name)
{
    return std::find(settings.processors.begin(), settings.processors.end(), name) !=
        settings.processors.end();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
