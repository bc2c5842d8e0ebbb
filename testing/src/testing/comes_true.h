#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace tavo::test_support
{

// Asks again and again until the answer is yes. False if it is not in that time.
inline bool comesTrue(
    const std::function<bool()>& condition,
    std::chrono::milliseconds limit = std::chrono::seconds(30))
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace tavo::test_support
