#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>

#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// Holds threads up until the test opens it, for good.
class Gate
{
public:
    ~Gate() { open(); }

    // Waits until it is open.
    void pass()
    {
        ++m_arrivals;
        m_opened.wait();
    }

    void open()
    {
        if (!m_isOpen.exchange(true))
            m_opening.set_value();
    }

    // Waits until so many threads have come; false if they do not.
    [[nodiscard]] bool isReached(int arrivals = 1) const
    {
        return comesTrue([this, arrivals] { return m_arrivals >= arrivals; });
    }

    // Whether `work` comes to its end while the gate is shut; opens it otherwise.
    [[nodiscard]] bool doesNotHoldUp(const std::function<void()>& work)
    {
        const std::future<void> end = std::async(std::launch::async, work);
        const bool ended = end.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
        if (!ended)
            open();
        return ended;
    }

private:
    std::atomic<int> m_arrivals{0};
    std::atomic<bool> m_isOpen{false};
    std::promise<void> m_opening;
    const std::shared_future<void> m_opened{m_opening.get_future()};
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
