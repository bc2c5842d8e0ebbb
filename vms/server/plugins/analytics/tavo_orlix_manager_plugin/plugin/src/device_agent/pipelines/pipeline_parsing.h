#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include <mpack.h>
#include <yyjson.h>

#include "device_agent/settings/device_settings.h"

// What a device's pipeline configuration means to the plugin. No state.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The models that are assigned to a device.
struct DeviceModels
{
    std::unordered_map<std::string, std::string> names; // by id
    std::vector<std::string> outputNames; // of all models, in order
};

// Models without id or name are left out, with a warning.
[[nodiscard]] DeviceModels readModels(yyjson_val* models);

// The classes of all outputs whose name contains "bboxes", each once, in ascending byte order. Such
// a name reads "bboxes-format:xyxy;0:person;1:car".
[[nodiscard]] std::vector<std::string> detectionClasses(
    const std::vector<std::string>& outputNames);

// Walks a node of the pipelines, or an array of them, with all that follows, and appends what it
// finds: names of processors, one entry a node to `modelNms`, and lines for people to
// `description`, `indent` blanks in. A node without a model of `modelNames` is shown with its id.
void parsePipelineNode(
    mpack_node_t node, std::vector<std::string>& processors,
    const std::unordered_map<std::string, std::string>& modelNames,
    std::vector<ModelNmsEntry>& modelNms, std::string& description, int indent);

} // namespace tavo::vms_server_plugins::analytics::orlix
