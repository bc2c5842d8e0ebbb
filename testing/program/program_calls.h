#pragma once

#include <filesystem>
#include <string>
#include <vector>

// What the program needs of the system.

namespace tavo::test_support
{

// Of this program's file, under the name by which it was started.
[[nodiscard]] std::filesystem::path ownPath(const char* firstArgument);

[[nodiscard]] unsigned long ownProcessId();

// Starts this program's file with other arguments, and goes on. Apart: with a session of its own.
void startAgain(
    const std::filesystem::path& path, const std::vector<std::string>& arguments, bool apart);

// What a program can ignore of requests to end.
void ignoreRequestsToEnd();

// Output as it is, without line ends of the system's own.
void makeStreamsBinary();

} // namespace tavo::test_support
