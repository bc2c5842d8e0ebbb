#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "failing_calls.h"

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

inline constexpr int kReport = 9;

// In the order of failing_calls::Kind.
[[nodiscard]] const std::vector<std::string>& kindNames();

// Has one call after the other fail until a run passes without, and writes what it does to the
// descriptor kReport, a line each:
//   step N       so far are the calls apart
//   run N        it begins
//   again        the same once more
//   finding TEXT
//   done N       it has ended
//   end N        so many calls there are; the last
// Gives the exit code.
int work(const Runs& runs);

} // namespace tavo::devkit
