#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// What all targets have. A target defines the function below: called with one input after the
// other, it hands each to what it is about, and ends the process where that breaks its word. Inputs
// must not depend on each other.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// A promise of the library.
#define FUZZ_CHECK(condition)                                                                      \
    ((condition) ? static_cast<void>(0) : tavo::fuzz::fail(#condition, __FILE__, __LINE__))

namespace tavo::fuzz
{

[[noreturn]] inline void fail(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

inline std::string_view asText(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace tavo::fuzz
