#include "utils/folders.h"

#include <filesystem>

#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::vector<std::string> folder_entries(const std::string& folder, std::error_code& error)
{
    std::vector<std::string> names;
    std::filesystem::directory_iterator entry(pathFromUtf8(folder), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        names.push_back(utf8FromPath(entry->path().filename()));
    return names;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
