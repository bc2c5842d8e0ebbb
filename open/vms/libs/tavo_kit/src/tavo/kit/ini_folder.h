#pragma once

#include <filesystem>

namespace tavo::kit
{

// Where option files are looked for; empty if the platform names no such folder.
std::filesystem::path iniFolder();

} // namespace tavo::kit
