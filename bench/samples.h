#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
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

// The processor time of this process so far, all threads.
inline double processorUs()
{
    return static_cast<double>(std::clock()) * (1e6 / CLOCKS_PER_SEC);
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

    // The median of each block by itself, and of those the one in the middle.
    void endBlock()
    {
        if (!m_us.empty())
            m_blockMedians.push_back(median());
        m_us.clear();
    }
    [[nodiscard]] const std::vector<double>& blockMedians() const { return m_blockMedians; }
    [[nodiscard]] double overall()
    {
        Samples blocks;
        blocks.m_us = m_blockMedians;
        return blocks.median();
    }

private:
    std::vector<double> m_us; // of the block under way
    std::vector<double> m_blockMedians;
};

// How two ways compare whose blocks took turns: block by block, since a machine drifts.
inline double ratioOf(const Samples& way, const Samples& other)
{
    Samples ratios;
    for (std::size_t i = 0; i < std::min(way.blockMedians().size(), other.blockMedians().size());
         ++i)
    {
        ratios.add(way.blockMedians()[i] / other.blockMedians()[i]);
    }
    return ratios.median();
}

inline constexpr int kBlockRuns = 60;

// Runs a way so many times in a row. Each way has a block of its own: frame by frame in turn, every
// way would meet the caches as the one before has left them. `measured` gives the microseconds of
// one run; the first few are those that still meet somebody else's caches.
template <typename Measured>
void runBlock(Samples& samples, Measured&& measured)
{
    constexpr int kUncounted = 6;
    for (int i = 0; i < kBlockRuns; ++i)
    {
        const double us = measured();
        if (i >= kUncounted)
            samples.add(us);
    }
    samples.endBlock();
}

} // namespace tavo::bench
