#include "utils/folders.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void remove_tree(const std::string& path, std::error_code& error)
{
    std::error_code first;
    if (is_folder_itself(path))
    {
        for (const std::string& name : folder_entries(path, first))
        {
            remove_tree(path + "/" + name, error);
            if (error && !first)
                first = error;
        }
    }
    remove_entry(path, error);
    if (first)
        error = first;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
