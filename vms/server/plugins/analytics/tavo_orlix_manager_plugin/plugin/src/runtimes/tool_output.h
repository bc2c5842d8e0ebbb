#pragma once

#include <string>
#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

// What the tools of the accelerators' vendors print, of which the first 4,096 bytes are read. No
// state; nothing throws.

// As much of any tool's output as is read or goes into the log.
[[nodiscard]] std::string beginningOf(std::string_view output);

// "3.2.0"; empty if it is not told.
[[nodiscard]] std::string deepxVersionIn(const std::string& output);

// "4.18.0"; empty unless it is told exactly once.
[[nodiscard]] std::string hailoVersionIn(const std::string& output);

// A value of Chip::hailoType: of the first device that is of a known one.
[[nodiscard]] int hailoTypeIn(const std::string& output);

} // namespace tavo::vms_server_plugins::analytics::orlix
