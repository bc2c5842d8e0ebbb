#pragma once

#include <cstddef>
#include <string>

namespace tavo::devkit
{

// What a process has and gives back.
struct ProcessState
{
    std::size_t descriptors = 0;
    std::size_t segments = 0; // of shared memory
    std::size_t children = 0;
    std::size_t threads = 0;

    [[nodiscard]] static ProcessState now();

    // What of it is more than before; empty if nothing is.
    [[nodiscard]] std::string moreThan(const ProcessState& before) const;
};

// Gives what is left too much of: what others close may take a moment.
[[nodiscard]] std::string waitUntilBackAt(const ProcessState& before);

} // namespace tavo::devkit
