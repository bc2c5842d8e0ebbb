#pragma once

#include <windows.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Zeros when the system does not tell.
[[nodiscard]] RTL_OSVERSIONINFOW systemVersion();

} // namespace tavo::vms_server_plugins::analytics::orlix
