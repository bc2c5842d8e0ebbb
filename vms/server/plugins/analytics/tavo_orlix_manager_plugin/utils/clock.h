#pragma once

#include <chrono>
#include <cstdint>

// Wall clock since the epoch.

namespace tavo::vms_server_plugins::analytics::orlix
{

[[nodiscard]] inline std::uint64_t time_now_us()
{
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
        duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

[[nodiscard]] inline std::uint64_t time_now_ms()
{
    return time_now_us() / 1000;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
