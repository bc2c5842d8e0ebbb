#pragma once

#include <string>
#include <system_error>
#include <vector>

// What is in folders. The standard library's own iterators end the process where there is no memory
// for a name. Paths are UTF-8. Any thread; nothing throws but for want of memory.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The names of all that is in a folder, in no order; those that were read before an error.
[[nodiscard]] std::vector<std::string> folder_entries(
    const std::string& folder, std::error_code& error);

// Deletes a file, a link, or a folder with all that is in it, as far as it can. That there is none
// is no error.
void remove_tree(const std::string& path, std::error_code& error);

} // namespace tavo::vms_server_plugins::analytics::orlix
