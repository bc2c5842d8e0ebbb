#pragma once

#include <algorithm>
#include <chrono>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A point in time that a changed wall clock does not move.
class Deadline
{
public:
    explicit Deadline(int afterMs) :
        m_end(Clock::now() + std::chrono::milliseconds(afterMs))
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

} // namespace tavo::vms_server_plugins::analytics::orlix
