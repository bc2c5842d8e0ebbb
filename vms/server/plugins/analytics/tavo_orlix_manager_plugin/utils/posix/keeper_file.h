#pragma once

#include <string>

#include "utils/posix/unique_descriptor.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// An executable file of the keeper that has no name any more, to be run through its descriptor;
// blank, with errno set, on failure. Attempt 0 is in memory. A system may forbid to run that, so
// there are two more: in the folder of `program`, if it names one, which is about to be run too;
// and in the folder for temporary files.
[[nodiscard]] UniqueDescriptor openKeeper(int attempt, const std::string& program);
inline constexpr int kKeeperAttempts = 3;

// A second descriptor for the same, close-on-exec, above the numbers that a started program uses.
[[nodiscard]] UniqueDescriptor aboveStandard(const UniqueDescriptor& descriptor);

} // namespace tavo::vms_server_plugins::analytics::orlix
