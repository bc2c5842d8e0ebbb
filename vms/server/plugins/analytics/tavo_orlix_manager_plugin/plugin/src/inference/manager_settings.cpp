#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>

#include "base/manager_files.h"
#include "inference/model_changes.h"
#include "inference/orlix_manager_interface.h"
#include "remote/file_helpers.h"
#include "utils/files.h"
#include "utils/log.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

struct TextDeleter
{
    void operator()(char* text) const { std::free(text); }
};

JsonDocument loadDocument(const std::string& path)
{
    const FileStream file(file_open_read(path.c_str()));
    if (!file)
        return nullptr;
    return JsonDocument(yyjson_read_fp(file.get(), YYJSON_READ_NOFLAG, nullptr, nullptr));
}

} // namespace

ModelChange findModelChange(const ModelStamps& known, const AssignedModels& assignedModels)
{
    if (known.size() != assignedModels.size())
        return ModelChange::count;
    for (const auto& [id, updatedAt] : known)
    {
        const auto model = assignedModels.find(id);
        if (model == assignedModels.end())
            return ModelChange::assignment;
        if (model->second.updatedAt != updatedAt)
            return ModelChange::update;
    }
    return ModelChange::none;
}

bool OrlixManagerInterface::updateSettings(
    MutableJsonDocument document, const AssignedModels& assignedModels, bool force)
{
    requireWhole(document.get());
    if (!force && m_settingsAreWritten)
    {
        switch (findModelChange(m_changeTable, assignedModels))
        {
            case ModelChange::none:
                log_info("Runtime settings has not changed.\n");
                return false;
            case ModelChange::count:
                break; // silent, as operators know it
            case ModelChange::assignment:
                log_info("Detected new model assignment\n");
                break;
            case ModelChange::update:
                log_info("Detected model update\n");
                break;
        }
    }
    m_settingsAreWritten = false;
    m_changeTable.clear();
    for (const auto& [id, model] : assignedModels)
        m_changeTable.emplace(model.id, model.updatedAt);

    std::size_t size = 0;
    const std::unique_ptr<char, TextDeleter> text(
        yyjson_mut_write(document.get(), YYJSON_WRITE_PRETTY, &size));
    if (!text)
    {
        log_info("Warning! Failed to create json string.\n");
        return true;
    }
    const std::string path = m_rootFolder + manager_files::kSettings;
    std::error_code ignored; // shows in the next step
    // An application's archive may come without the folder.
    std::filesystem::create_directories(pathFromUtf8(path).parent_path(), ignored);
    // Until then the application starts with what it had.
    m_settingsAreWritten = replaceFile(path, {text.get(), size});
    if (!m_settingsAreWritten)
        log_info("Warning! Could not write runtime settings: %s\n", path.c_str());
    return m_settingsAreWritten;
}

JsonDocument OrlixManagerInterface::loadExternalPreprocessors() const
{
    return loadDocument(path_join(m_rootFolder, "preprocessors", "external_preprocessors.json"));
}

JsonDocument OrlixManagerInterface::loadExternalPostprocessors() const
{
    return loadDocument(path_join(m_rootFolder, "postprocessors", "external_postprocessors.json"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
