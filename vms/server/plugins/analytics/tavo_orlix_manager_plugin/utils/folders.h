#pragma once

#include <chrono>
#include <string>
#include <system_error>
#include <vector>

// Folders and what is in them. The standard library's own iterators end the process where there is
// no memory for a name. Paths are UTF-8. Any thread; nothing throws but for want of memory.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The names of all that is in a folder, in no order; those that were read before an error.
[[nodiscard]] std::vector<std::string> folder_entries(
    const std::string& folder, std::error_code& error);

// A folder, and not a link to one.
[[nodiscard]] bool is_folder_itself(const std::string& path);

// Deletes a file, a link, or an empty folder. That there is none is no error.
void remove_entry(const std::string& path, std::error_code& error);

// Deletes a file, a link, or a folder with all that is in it, as far as it can. That there is none
// is no error.
void remove_tree(const std::string& path, std::error_code& error);

// Gives a file or folder another name on the same disk. A file replaces a file that has it, and
// neither ever takes the place of the other kind. Where it matters that others have one of them
// open, as those do that look for viruses in whatever is new, this waits for them, for as long as
// `patience` says.
void rename_entry(
    const std::string& from, const std::string& to, std::chrono::milliseconds patience,
    std::error_code& error);

// For work that may wait: longer than a large file is looked at.
inline constexpr std::chrono::milliseconds kRenamePatience{3'000};

} // namespace tavo::vms_server_plugins::analytics::orlix
