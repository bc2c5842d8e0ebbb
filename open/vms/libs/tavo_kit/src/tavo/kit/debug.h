// The debug stream and assertions. The stream is the process's standard error; a line is written
// whole, in one go. Any thread may call.
#pragma once

#include <string_view>

namespace tavo::kit
{

// Writes the text and a line end. A stream that cannot be written to loses the line and does the
// process no harm.
void printLine(std::string_view text);

// Reports a broken assumption in the code and carries on: a server does not end for it.
// `condition` is the text of what should have held, `message` says more if it is not empty, and the
// place is the caller's.
void assertionFailed(
    std::string_view condition, std::string_view message = {}, const char* file = __builtin_FILE(),
    int line = __builtin_LINE());

// Gives `holds` back, after an assertionFailed if it is false.
inline bool verify(
    bool holds, std::string_view condition, std::string_view message = {},
    const char* file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (!holds)
        assertionFailed(condition, message, file, line);
    return holds;
}

} // namespace tavo::kit
