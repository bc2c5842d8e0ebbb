#pragma once

#include <cstdint>

namespace tavo::vms_server_plugins::analytics::orlix
{

// How long a restarted application must stay up for the crash before it to be forgotten; a loop of
// restarts never does.
inline constexpr std::uint64_t kCrashForgottenAfterMs = 10'000;

// Only a second start can have had a crash before it.
[[nodiscard]] constexpr bool hasOutlivedCrash(
    std::uint64_t startCount, std::uint64_t startTimeMs, std::uint64_t nowMs)
{
    return startCount >= 2 && nowMs > startTimeMs && nowMs - startTimeMs > kCrashForgottenAfterMs;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
