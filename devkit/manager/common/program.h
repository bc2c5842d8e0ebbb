#pragma once

#include <filesystem>

namespace tavo::devkit
{

// The file of the running program; empty where it cannot be told.
[[nodiscard]] std::filesystem::path program_path();

// For programs: writing to a pipe whose reader has gone fails, and does not end the program.
void ignore_broken_pipes();

} // namespace tavo::devkit
