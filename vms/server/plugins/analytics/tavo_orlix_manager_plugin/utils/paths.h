#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Paths are texts in UTF-8 wherever they are not in the hands of the standard library, which takes
// a plain text for one in the system's own encoding.
[[nodiscard]] std::filesystem::path pathFromUtf8(std::string_view path);
[[nodiscard]] std::string utf8FromPath(const std::filesystem::path& path);

// A file in the system's folder for temporary files. Throws std::filesystem::filesystem_error when
// there is no such folder.
[[nodiscard]] std::string pathOfTemporary(std::string_view fileName);

// The parts joined with one kPathSeparator, none added behind a part that ends in one, none behind
// the last.
[[nodiscard]] std::string path_join(std::initializer_list<std::string_view> parts);

template <typename... Parts>
[[nodiscard]] std::string path_join(const Parts&... parts)
{
    return path_join({std::string_view(parts)...});
}

} // namespace tavo::vms_server_plugins::analytics::orlix
