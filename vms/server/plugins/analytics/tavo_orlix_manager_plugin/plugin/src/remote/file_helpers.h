#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "utils/files.h"
#include "utils/paths.h"

// Small helpers for files; paths are UTF-8. No state. Nothing throws but for want of memory. A
// failure is logged unless it says otherwise here.

namespace tavo::vms_server_plugins::analytics::orlix
{

// False, without a word, also where it cannot be told.
[[nodiscard]] bool fileExists(const std::string& path);

// 0 on failure.
[[nodiscard]] std::uint64_t fileSize(const std::string& path);

// A path that does not exist is no failure.
bool deleteFile(const std::string& path);

// The file's bytes, or null if it cannot be opened, which is told on standard error and not in the
// log, or held. `size` is what the buffer holds, less than the file has when reading it breaks off.
[[nodiscard]] std::unique_ptr<char[]> readFile(const std::string& path, std::size_t* size);

// False, silently and with the reason in errno, when not all could be written; also without a file.
[[nodiscard]] bool writeAndClose(FileStream file, std::string_view content);

// Replaces what is there. 0 on success; 1 on failure, which leaves the file cut short.
int writeFile(const std::string& path, const char* data, std::size_t size);

// Whether a text of another machine's can be the name of a file on any system, and names it within
// the folder that it is joined to: no separator, no control character, neither "." nor "..".
[[nodiscard]] bool isFileName(std::string_view text);

// Replaces what is there, whole or not at all: the content is written beside it and takes its place
// by a rename. False on failure, which is not logged.
[[nodiscard]] bool replaceFile(const std::string& path, std::string_view content);

// What stands behind the last "/", also on Windows, before a "?" or "#": these paths come from
// URLs.
[[nodiscard]] std::string fileNameOf(const std::string& path);

} // namespace tavo::vms_server_plugins::analytics::orlix
