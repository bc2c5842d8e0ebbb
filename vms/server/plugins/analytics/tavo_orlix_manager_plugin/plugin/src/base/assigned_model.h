#pragma once

#include <string>
#include <unordered_map>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A model that the cloud assigned to at least one camera of this server.
struct AssignedModel
{
    std::string id;
    std::string name;
    std::string updatedAt; // change stamp, compared as text
    std::string modelPath; // the file in the cache
    std::string keyPath; // where the model's symmetric key is kept
    std::string runtimePath =
        {}; // the file that the application loads; a decrypted copy if encrypted
    bool encrypted = false; // the file at modelPath is stored encrypted
};

// By model id.
using AssignedModels = std::unordered_map<std::string, AssignedModel>;

} // namespace tavo::vms_server_plugins::analytics::orlix
