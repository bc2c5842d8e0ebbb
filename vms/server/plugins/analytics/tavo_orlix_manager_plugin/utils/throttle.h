#pragma once

#include <chrono>
#include <optional>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Lets something through at most once in an interval: what may go wrong with every frame is told
// now and then. Not synchronised.
class Throttle
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Throttle(Clock::duration interval) :
        m_interval(interval)
    {}

    [[nodiscard]] bool mayPass(Clock::time_point now = Clock::now())
    {
        if (m_last && now - *m_last < m_interval)
            return false;
        m_last = now;
        return true;
    }

private:
    const Clock::duration m_interval;
    std::optional<Clock::time_point> m_last;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
