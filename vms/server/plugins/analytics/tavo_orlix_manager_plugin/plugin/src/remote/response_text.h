#pragma once

#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// The first line behind the head of a whole HTTP response, without its line feed; a carriage return
// stays. The head ends with the first line that is empty or a lone carriage return. A text without
// such a line is no HTTP response and comes back as it is.
[[nodiscard]] std::string_view firstBodyLine(std::string_view response);

} // namespace tavo::vms_server_plugins::analytics::orlix
