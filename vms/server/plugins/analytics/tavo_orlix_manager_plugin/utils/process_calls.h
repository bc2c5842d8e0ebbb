#pragma once

#include "utils/process.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// As process_prepare, for arguments that were looked at.
[[nodiscard]] ProcessRecord process_prepare_checked(
    const char* const* arguments, bool console, PipeEnd* errorPipe);

} // namespace tavo::vms_server_plugins::analytics::orlix
