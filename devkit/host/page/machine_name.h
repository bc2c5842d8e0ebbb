#pragma once

#include <string>

namespace tavo::devkit
{

// What others call this machine, as a browser says it: in small letters. Empty: unknown.
[[nodiscard]] std::string machineName();

} // namespace tavo::devkit
