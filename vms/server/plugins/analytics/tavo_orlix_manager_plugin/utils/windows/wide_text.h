#pragma once

#include <string>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Between UTF-8, which all texts of ours are, and the system's own encoding. What does not convert
// becomes U+FFFD; nothing fails.
[[nodiscard]] std::wstring wideText(std::string_view text);
[[nodiscard]] std::string narrowText(std::wstring_view text);

} // namespace tavo::vms_server_plugins::analytics::orlix
