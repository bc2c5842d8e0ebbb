#pragma once

#include <algorithm>
#include <chrono>

namespace tavo::vms_server_plugins::analytics::orlix
{

// When to try again what fails: at once, then after a second, then each time after twice as long,
// 5 minutes at most. Not synchronised.
class RetryPause
{
public:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] bool isOver(Clock::time_point now = Clock::now()) const { return now >= m_end; }

    // After a try that failed.
    void begin(Clock::time_point now = Clock::now())
    {
        m_end = now + m_length;
        m_length = std::min(m_length * 2, kLongest);
    }

private:
    static constexpr std::chrono::seconds kLongest{5 * 60};

    std::chrono::seconds m_length{1};
    Clock::time_point m_end = Clock::time_point::min();
};

} // namespace tavo::vms_server_plugins::analytics::orlix
