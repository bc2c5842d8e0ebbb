#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavo::vms_server_plugins::analytics::orlix
{

struct CommandResult
{
    std::int32_t exitCode = -1; // -1 when the command could not be started
    std::string output; // standard output and standard error, as they came
};

// Runs a command and waits for its end, without a time-out. No shell is involved: a line that needs
// one must name it. The command has no standard input; what it leaves running ends with it, and
// both with this process. Any thread may call; nothing throws.
[[nodiscard]] CommandResult runCommand(const std::string& commandLine);

// The words of a line: split at blanks, except between double quotes, which are dropped. There is
// no way to write a double quote.
[[nodiscard]] std::vector<std::string> splitCommandLine(std::string_view commandLine);

} // namespace tavo::vms_server_plugins::analytics::orlix
