#include "utils/folders.h"

#include <filesystem>

#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void remove_tree(const std::string& path, std::error_code& error)
{
    error.clear();
    std::error_code first;
    const std::filesystem::path nativePath = pathFromUtf8(path);
    if (std::filesystem::is_directory(std::filesystem::symlink_status(nativePath, error)))
    {
        for (const std::string& name : folder_entries(path, first))
        {
            remove_tree(path + "/" + name, error);
            if (error && !first)
                first = error;
        }
    }
    std::filesystem::remove(nativePath, error);
    if (first)
        error = first;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
