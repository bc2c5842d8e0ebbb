#include "utils/folders.h"

#include <cerrno>
#include <dirent.h>
#include <memory>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

struct FolderCloser
{
    void operator()(DIR* folder) const { closedir(folder); }
};

} // namespace

std::vector<std::string> folder_entries(const std::string& folder, std::error_code& error)
{
    error.clear();
    std::vector<std::string> names;
    const std::unique_ptr<DIR, FolderCloser> open(opendir(folder.c_str()));
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

} // namespace tavo::vms_server_plugins::analytics::orlix
