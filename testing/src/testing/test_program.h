#pragma once

#include <string>

// The program of testing/program, which does what a test tells it.

namespace tavo::test_support
{

// Its file, to be started with its steps as arguments.
[[nodiscard]] std::string testProgram();

// The name of a program's file: with ".exe" behind it on a system that wants that.
[[nodiscard]] std::string programFile(const std::string& name);

// Puts it at `path`, which programFile gave and whose folder exists, with its steps, one a line.
// One that is there is replaced. Throws std::filesystem::filesystem_error.
void installTestProgram(const std::string& path, const std::string& steps);

} // namespace tavo::test_support
