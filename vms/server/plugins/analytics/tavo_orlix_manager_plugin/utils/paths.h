#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// The parts joined with one kPathSeparator, none added behind a part that ends in one, none behind
// the last.
[[nodiscard]] std::string path_join(std::initializer_list<std::string_view> parts);

template <typename... Parts>
[[nodiscard]] std::string path_join(const Parts&... parts)
{
    return path_join({std::string_view(parts)...});
}

} // namespace tavo::vms_server_plugins::analytics::orlix
