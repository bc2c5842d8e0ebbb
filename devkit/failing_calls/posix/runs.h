#pragma once

#include <cstdint>
#include <string>

namespace tavo::devkit
{

// Which calls of which road are to fail.
struct Runs
{
    std::string road;
    std::string kind;
    std::uint64_t first = 1;
    std::uint64_t most = 0; // runs over all calls, which they are spread over; 0: as many as calls
};

inline constexpr const char* kRoadNames[] = {"load", "install", "frame", "settings", "crash"};

// Has one call after the other fail until a run passes without, in a process of its own, and in
// another one behind each run that ended it. Prints what it finds, with where the first call came
// from, and at the end one line with how many runs there were and how many calls there are. True if
// nothing was found. This process has one thread.
[[nodiscard]] bool supervise(const Runs& runs);

} // namespace tavo::devkit
