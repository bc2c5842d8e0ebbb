#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A point in time that a changed wall clock does not move.
class Deadline
{
public:
    explicit Deadline(std::chrono::milliseconds after) :
        m_end(Clock::now() + after)
    {}
    explicit Deadline(int afterMs) :
        Deadline(std::chrono::milliseconds(afterMs))
    {}

    // Rounded up; 0 once it has passed.
    [[nodiscard]] int remainingMs() const
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now());
        return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
    }

    [[nodiscard]] bool hasPassed() const { return Clock::now() >= m_end; }

private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point m_end;
};

// False once `stop` was requested, which ends the sleep.
[[nodiscard]] inline bool sleepUnlessStopped(
    std::chrono::milliseconds duration, const std::stop_token& stop)
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any never;
    never.wait_for(lock, stop, duration, [] { return false; });
    return !stop.stop_requested();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
