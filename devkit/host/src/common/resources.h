#pragma once

#include <cstdint>

namespace tavo::devkit
{

// What this process has taken from the system.
struct ProcessResources
{
    uint64_t residentBytes = 0;
    int descriptors = 0;
    int threads = 0;
};

// What cannot be told is 0. Any thread.
[[nodiscard]] ProcessResources readProcessResources();

} // namespace tavo::devkit
