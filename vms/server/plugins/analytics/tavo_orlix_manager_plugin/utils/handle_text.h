#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Parses a handle of the system that was printed with "%p". False, and `handle` unchanged, when it
// does not parse.
[[nodiscard]] inline bool handle_from_string(std::string_view text, std::intptr_t& handle)
{
    if (text.starts_with("0x"))
        text.remove_prefix(2);
    std::intptr_t parsed = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), parsed, 16);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        return false;
    handle = parsed;
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
