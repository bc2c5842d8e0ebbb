#pragma once

#include <functional>
#include <set>
#include <string>

#include <yyjson.h>

#include "base/assigned_model.h"
#include "models/model_manager.h"
#include "utils/json.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Turns the model objects of all devices into the list of assigned models, each model once, however
// many devices use it, and makes sure that their files are there. One collector serves one walk
// over the devices; it belongs to the runtime loop's thread.
class ModelCollector
{
public:
    using CloudToken = std::function<std::string()>; // asked anew for each model

    // Empties `models` and fills it; sets `downloaded` at once when a new file has come. All but
    // the token outlive the collector.
    ModelCollector(
        AssignedModels& models, ModelManager& modelManager, const std::string& mimeType,
        CloudToken cloudToken, bool& downloaded);

    // Takes the next model object of a device. Blocks for a download that is due.
    void add(yyjson_val* model);

    // The array for the settings file: the model objects with what the manager application needs
    // besides. To be called once, at the end.
    [[nodiscard]] MutableJsonDocument takeList();

private:
    void appendToList(yyjson_val* model, const AssignedModel& assigned);

    AssignedModels& m_models;
    ModelManager& m_modelManager;
    const std::string& m_mimeType;
    const CloudToken m_cloudToken;
    MutableJsonDocument m_list = newJsonDocument();
    std::set<std::string> m_incompatible; // ids of the models that were told of
    bool& m_downloaded;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
