#pragma once

#include <string>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Fills in a placeholder wherever it stands. The search goes on behind what was put in, so a
// placeholder in a value is not expanded.
inline void replaceAll(std::string& text, std::string_view placeholder, const std::string& value)
{
    for (std::size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + value.size()))
    {
        text.replace(at, placeholder.size(), value);
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
