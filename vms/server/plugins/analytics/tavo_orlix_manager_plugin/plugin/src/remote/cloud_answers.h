#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/pipeline_option.h"

// What the cloud's answers say, taken out of their JSON texts. A text that is no such answer gives
// an empty list; elements that are not as they should be are left out. No state; nothing throws.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The pipelines that a device may choose from; one without a uuid could not be chosen.
[[nodiscard]] std::vector<PipelineOption> pipelineOptions(std::string_view answer);

// A JSON document that the host is to merge into the record of a device.
struct DevicePatch
{
    std::string id; // fit to be a part of a path of the host's interface
    std::string patch;
};

// The new configurations of devices.
[[nodiscard]] std::vector<DevicePatch> devicePatches(std::string_view answer);

} // namespace tavo::vms_server_plugins::analytics::orlix
