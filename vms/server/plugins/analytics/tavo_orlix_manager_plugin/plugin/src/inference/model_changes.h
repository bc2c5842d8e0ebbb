#pragma once

#include <string>
#include <unordered_map>

#include "base/assigned_model.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// By model id, the change stamp that the settings file was last written with.
using ModelStamps = std::unordered_map<std::string, std::string>;

// Why the settings file is to be written anew.
enum class ModelChange
{
    none,
    count, // there are more or fewer models
    assignment, // a model of the last write is gone
    update, // a model's change stamp is another
};

// The first reason there is. Only ids and stamps are looked at.
[[nodiscard]] ModelChange findModelChange(
    const ModelStamps& known, const AssignedModels& assignedModels);

} // namespace tavo::vms_server_plugins::analytics::orlix
