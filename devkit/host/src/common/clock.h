#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stop_token>

namespace tavo::devkit
{

[[nodiscard]] inline int64_t wallClockUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

[[nodiscard]] inline int64_t steadyClockUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

// Waits until the steady clock shows `timeUs`. False when a stop was requested instead.
[[nodiscard]] inline bool sleepUntilUs(int64_t timeUs, const std::stop_token& stop)
{
    std::mutex mutex;
    std::condition_variable_any never;
    std::unique_lock lock(mutex);
    const std::chrono::steady_clock::time_point time{std::chrono::microseconds(timeUs)};
    never.wait_until(lock, stop, time, [] { return false; });
    return !stop.stop_requested();
}

} // namespace tavo::devkit
