#include "utils/folders.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void remove_tree(const std::string& path, std::error_code& error)
{
    std::error_code inside;
    if (is_folder_itself(path))
    {
        for (const std::string& name : folder_entries(path, inside))
        {
            remove_tree(path + "/" + name, error);
            if (error)
                inside = error;
        }
    }
    remove_entry(path, error);
    if (inside)
        error = inside;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
