#pragma once

#include <string>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A pipeline that the cloud offers for a device.
struct PipelineOption
{
    std::string patch; // the whole JSON text to PATCH on the device when this option is chosen
    std::string name;
    std::string uuid;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
