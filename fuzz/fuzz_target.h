#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

// A promise of the library.
#define FUZZ_CHECK(condition)                                                                      \
    ((condition) ? static_cast<void>(0) : tavo::fuzz::fail(#condition, __FILE__, __LINE__))

namespace tavo::fuzz
{

// What a target defines: called with one input after the other, hands each to what it is about, and
// ends the process where that breaks its word. Inputs must not depend on each other.
void run(std::string_view input);

[[noreturn]] inline void fail(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

} // namespace tavo::fuzz
