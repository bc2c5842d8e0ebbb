#pragma once

#include "failing_calls.h"

// Between the calls that stand before the system's and what a test has asked for.

namespace tavo::failing_calls
{

// Counts a call. True, with errno set, if it is the one to fail.
[[nodiscard]] bool fails(Kind kind);

// The caller that a thread is which the library starts.
[[nodiscard]] unsigned nextThread();

[[nodiscard]] long sleepLimitMs(); // 0: none

void noteBlock(const void* block);
void noteFreed(const void* block);

// The function of that name that this program stands before.
[[nodiscard]] void* nextOf(const char* name);

} // namespace tavo::failing_calls

// The type is that of the definition around it.
#define TAVO_NEXT(name)                                                                            \
    (                                                                                              \
        []()                                                                                       \
        {                                                                                          \
            static const auto next = reinterpret_cast<decltype(&::name)>(nextOf(#name));           \
            return next;                                                                           \
        }())
