#include <filesystem>
#include <utility>

#include "base/manager_files.h"
#include "inference/orlix_manager_interface.h"
#include "remote/file_helpers.h"
#include "utils/log.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Why the settings file is to be written anew: a line for the log, or "", as operators know it.
// Null if it is not. By model id, `known` has the change stamps that it was written with.
const char* changeSince(
    const std::unordered_map<std::string, std::string>& known, const AssignedModels& assignedModels)
{
    if (known.size() != assignedModels.size())
        return "";
    for (const auto& [id, updatedAt] : known)
    {
        const auto model = assignedModels.find(id);
        if (model == assignedModels.end())
            return "Detected new model assignment\n";
        if (model->second.updatedAt != updatedAt)
            return "Detected model update\n";
    }
    return nullptr;
}

} // namespace

bool OrlixManagerInterface::updateSettings(
    MutableJsonDocument document, const AssignedModels& assignedModels, bool force)
{
    requireWhole(document.get());
    if (!force)
    {
        const char* const change = changeSince(m_changeTable, assignedModels);
        if (!change)
        {
            log_info("Runtime settings has not changed.\n");
            return false;
        }
        if (*change)
            log_info("%s", change);
    }
    m_changeTable.clear();
    for (const auto& [id, model] : assignedModels)
        m_changeTable.emplace(model.id, model.updatedAt);

    std::optional<std::string> text = writeJson(document.get(), YYJSON_WRITE_PRETTY);
    if (!text)
    {
        log_info("Warning! Failed to create json string.\n");
        return true;
    }
    m_unwrittenSettings = std::move(text);
    m_settingsPause = {};
    return writeSettings();
}

bool OrlixManagerInterface::retrySettings()
{
    return m_unwrittenSettings && m_settingsPause.isOver() && writeSettings();
}

bool OrlixManagerInterface::writeSettings()
{
    const std::string path = m_rootFolder + manager_files::kSettings;
    std::error_code ignored; // shows in the next step
    // An application's archive may come without the folder.
    std::filesystem::create_directories(pathFromUtf8(path).parent_path(), ignored);
    if (replaceFile(path, *m_unwrittenSettings))
    {
        m_unwrittenSettings.reset();
        if (std::exchange(m_settingsFailureTold, false))
            m_messageBoard->removeMessage(board_key::kSettingsNotWritten);
        return true;
    }
    m_settingsPause.begin();
    if (std::exchange(m_settingsFailureTold, true))
        return false;
    log_info("Warning! Could not write runtime settings: %s\n", path.c_str());
    m_messageBoard->postMessage(
        board_key::kSettingsNotWritten,
        "The list of models for the AI application could not be written, so it goes on with what "
        "it had: " +
            path +
            "\nSee that the disk has room, that the server's user may write there, and that no "
            "folder has this name. It is tried again by itself.",
        MessageType::warning);
    return false;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
