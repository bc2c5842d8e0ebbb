#pragma once

#include <cstddef>

#include "utils/console.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Writes as much of the text, which is not empty, as the system takes at once. Gives its bytes; 0
// when it takes none. Raises no signal.
[[nodiscard]] std::size_t console_write_some(ConsoleStream stream, std::string_view text);

} // namespace tavo::vms_server_plugins::analytics::orlix
