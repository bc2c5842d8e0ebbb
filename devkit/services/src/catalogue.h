#pragma once

#include <map>
#include <string>
#include <vector>

#include "model_files.h"
#include "utils/json.h"

namespace tavo::devkit
{

// What the stand-in cloud knows: models with their files, and pipelines made of them. Told by one
// JSON file:
//
//   "models": objects with UUID, Name, NamedOutput and what else the application is to read, and
//       "File" (in the folder of files), "Encrypted", "RuntimeArchitectures" (mime types);
//   "pipelines": objects with uuid, name, "models" (UUIDs) and "pipelines" (the nodes).
//
// The first pipeline is what a device is reset to.
class Catalogue
{
public:
    // Reads the catalogue and all model files. Throws std::runtime_error for what makes no sense.
    Catalogue(const std::string& file, const std::string& filesFolder);

    // The answers of the cloud; `storageUrl` is where the models are served.
    [[nodiscard]] std::string availablePipelines(const std::string& storageUrl) const;
    [[nodiscard]] std::string resetAnswer(
        const std::string& requestBody, const std::string& storageUrl,
        const std::string& adminUrl) const;

    // Null for a file that there is none of.
    [[nodiscard]] const StoredModel* findModel(const std::string& fileName) const;

    // The stamp that tells the plugin that a model changed.
    void touchModels(const std::string& updatedAt) { m_updatedAt = updatedAt; }

private:
    yyjson_mut_val* modelObject(
        yyjson_mut_doc* document, yyjson_val* model, const std::string& storageUrl) const;
    yyjson_mut_val* pipelineObject(
        yyjson_mut_doc* document, yyjson_val* pipeline, const std::string& storageUrl) const;

    vms_server_plugins::analytics::orlix::JsonDocument m_document;
    std::map<std::string, StoredModel> m_files; // by name
    std::string m_updatedAt = "2026-11-01T12:00:00";
};

} // namespace tavo::devkit
