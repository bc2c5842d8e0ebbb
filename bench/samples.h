#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

// What a benchmark measures itself, where things that are compared must take turns within one run:
// machines drift, and ratios survive that.

namespace tavo::bench
{

using Clock = std::chrono::steady_clock;

template <typename Action>
double measureUs(Action&& action)
{
    const auto begin = Clock::now();
    action();
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

class Samples
{
public:
    void add(double us) { m_us.push_back(us); }

    // `share` from 0 to 1: 0.5 is the median.
    [[nodiscard]] double at(double share)
    {
        if (m_us.empty())
            return 0;
        const auto index = static_cast<std::size_t>(share * static_cast<double>(m_us.size() - 1));
        std::nth_element(
            m_us.begin(), m_us.begin() + static_cast<std::ptrdiff_t>(index), m_us.end());
        return m_us[index];
    }
    [[nodiscard]] double median() { return at(0.5); }

private:
    std::vector<double> m_us;
};

} // namespace tavo::bench
