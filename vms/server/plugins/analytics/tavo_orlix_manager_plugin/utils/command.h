#pragma once

#include <chrono>
#include <cstdint>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace tavo::vms_server_plugins::analytics::orlix
{

struct CommandResult
{
    std::int32_t exitCode = -1; // -1 when the command could not be started, or was ended
    std::string output; // standard output and standard error, as they came; 16 MiB at most
};

inline constexpr std::chrono::seconds kCommandLimit{30}; // for what answers at once
inline constexpr std::chrono::seconds kUnpackLimit{600}; // for archives of some gigabytes

// Runs a command and waits until its program ends, whatever that leaves behind; or for `limit`, or
// until `stop`, and then it is ended, with a line in the log. No shell is involved: a line that
// needs one must name it. The command has no standard input. What it leaves running ends with it,
// and both with this process. Any thread may call; nothing throws.
[[nodiscard]] CommandResult runCommand(
    const std::string& commandLine, std::chrono::seconds limit = kCommandLimit,
    const std::stop_token& stop = {});

// The words of a line: split at blanks, except between double quotes, which are dropped. There is
// no way to write a double quote.
[[nodiscard]] std::vector<std::string> splitCommandLine(std::string_view commandLine);

} // namespace tavo::vms_server_plugins::analytics::orlix
