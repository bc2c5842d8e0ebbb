#include "utils/folders.h"

#include <cerrno>
#include <dirent.h>
#include <filesystem>
#include <memory>
#include <string_view>

#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::vector<std::string> folder_entries(const std::string& folder, std::error_code& error)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder.c_str()), &closedir);
    if (!open)
    {
        error.assign(errno, std::generic_category());
        return names;
    }
    for (;;)
    {
        errno = 0;
        const dirent* const entry = readdir(open.get());
        if (!entry)
            break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
    }
    error.assign(errno, std::generic_category());
    return names;
}

bool is_folder_itself(const std::string& path)
{
    std::error_code error;
    return std::filesystem::is_directory(
        std::filesystem::symlink_status(pathFromUtf8(path), error));
}

void remove_entry(const std::string& path, std::error_code& error)
{
    std::filesystem::remove(pathFromUtf8(path), error);
}

// Who has a file open does not matter.
void rename_entry(
    const std::string& from, const std::string& to, std::chrono::milliseconds /*patience*/,
    std::error_code& error)
{
    std::filesystem::rename(pathFromUtf8(from), pathFromUtf8(to), error);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
