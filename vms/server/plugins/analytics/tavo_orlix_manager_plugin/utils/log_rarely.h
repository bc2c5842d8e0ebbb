#pragma once

#include <string_view>

#include "utils/log.h"

// Lines of the log that come with each frame, result or pass of a loop: as log_info at verbosity 2;
// at 1 each kind at once and then once a minute. A kind is a format and `subject`, which is the
// device that the line is about, or what else tells it from others of its format. Any thread, at
// any time; never fails.

namespace tavo::vms_server_plugins::analytics::orlix
{

[[ORLIX_PRINTF(2, 3)]] void log_rarely(std::string_view subject, const char* format, ...);

// With the number of those left out since the last one.
[[ORLIX_PRINTF(2, 3)]] void log_warning(std::string_view subject, const char* format, ...);

} // namespace tavo::vms_server_plugins::analytics::orlix
