#pragma once

#include <map>
#include <string>
#include <vector>

#include <yyjson.h>

#include "device_agent/settings/device_settings.h"
#include "utils/json.h"

// The sensitivity of a pipeline's models: people see a percentage of 1 to 100, the host's record
// holds a non-maximum suppression value, and 100 percent is a value of 0. No state.

namespace tavo::vms_server_plugins::analytics::orlix
{

inline constexpr char kModelNmsPrefix[] = "model_nms_"; // of a setting's name; then the model's id

struct NmsChanges
{
    bool changed = false;
    std::map<std::string, float> values; // by model id
};

// What the settings' values ask for, against what the pipeline holds. The walk ends at the first
// model without a setting; 0, which is also what no number reads as, asks for no change.
[[nodiscard]] NmsChanges readNmsChanges(
    const std::vector<ModelNmsEntry>& entries, const std::map<std::string, std::string>& values);

// A patch of a device's record that holds all of `pipelines`, an array, with the new values put in.
// Only the nodes of the array itself are looked at, not those that follow them.
[[nodiscard]] MutableJsonDocument makeNmsPatch(
    yyjson_val* pipelines, const std::map<std::string, float>& newValues);

} // namespace tavo::vms_server_plugins::analytics::orlix
