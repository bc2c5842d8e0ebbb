#pragma once

#include <span>
#include <string>
#include <string_view>

#include "base/message_board.h"
#include "runtimes/chip.h"
#include "utils/platform_names.h"

// Probes that tell whether an accelerator is there and its driver fit for use. They run the
// vendors' tools, block until those end, throw nothing, and end with a record as far as they got.
// Where the user can mend something, the board says how.

namespace tavo::vms_server_plugins::analytics::orlix
{

void probeDeepxDriver(Chip& chip);

void probeNvidiaDriver(Chip& chip, MessageBoard& messageBoard);

// The rest of that probe, for a machine on which the device was found.
void probeNvidiaTools(Chip& chip, MessageBoard& messageBoard);

// Fit for use when a device is there and its driver is of a supported version.
void probeHailoDriver(Chip& chip, const std::string& deviceFolder = kHailoDeviceFolder);

// 1 when version `a` is newer, -1 when `b` is, 0 when equal; a missing piece counts as 0. A piece
// that is no decimal number throws std::invalid_argument, one too large std::out_of_range.
[[nodiscard]] int compareVersions(const std::string& a, const std::string& b);

// The driver versions that each family's runtime is built for.
inline constexpr const char* kDeepxSupportedVersions[] = {"2.9.5", "3.0.0", "3.1.0", "3.2.0"};
inline constexpr const char* kHailoSupportedVersions[] = {"4.17.0", "4.18.0", "4.19.0", "4.20.0"};

// Kept for the probes of two families that have none yet; whose they are is settled with those.
inline constexpr const char* kReservedSupportedVersions[] = {"2.3.0"};
inline constexpr const char* kOtherReservedSupportedVersions[] = {"2.1.0"};

// The entry of such a list that equals `version`, or null; a version that is no version, or beyond
// numbers, is not supported.
[[nodiscard]] const char* findSupportedVersion(
    std::span<const char* const> supported, const std::string& version);

// Whether there is a device of the vendor at all. Says on the standard streams what it found.
[[nodiscard]] bool findNvidiaPciDevice();

// The version in a toolkit's path: what stands behind the "v" in the last folder whose name is a
// "v" and a digit at first. Empty if there is none.
[[nodiscard]] std::string cudaVersionInPath(std::string_view path);

// What a toolkit's version comes to in a package's name, such as "cuda_12"; empty for a version
// that no runtime is built for.
[[nodiscard]] std::string cudaDriverTag(const std::string& version);

} // namespace tavo::vms_server_plugins::analytics::orlix
