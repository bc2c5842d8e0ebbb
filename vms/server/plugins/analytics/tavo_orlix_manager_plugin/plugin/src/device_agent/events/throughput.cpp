#include "device_agent/events/throughput.h"

#include <limits>
#include <numeric>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

static_assert(std::numeric_limits<float>::is_iec559, "a sum of 0 gives an infinite frame rate");

// Of no negative value; what lies beyond the integer's range becomes its end.
std::int32_t truncated(float value)
{
    constexpr float kEnd = 2147483648.0f; // 2^31
    if (!(value < kEnd))
        return std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(value);
}

// Cut to whole microseconds after each addition.
std::int32_t sumOf(const std::array<float, Throughput::kWindow>& intervals)
{
    // All are whole numbers. As long as floats hold every one of them it does not matter in which
    // order they are added, and several at once are quicker than one after the other.
    constexpr float kEveryWholeBelow = 1 << std::numeric_limits<float>::digits;
    const float whole = std::reduce(intervals.begin(), intervals.end());
    if (whole < kEveryWholeBelow)
        return static_cast<std::int32_t>(whole);

    std::int32_t sum = 0;
    for (const float interval : intervals)
        sum = truncated(static_cast<float>(sum) + interval);
    return sum;
}

} // namespace

std::optional<ThroughputFigures> Throughput::note(std::uint64_t nowUs, std::uint64_t sentAtUs)
{
    const bool first = m_lastResultAtUs == 0;
    if (!first)
    {
        m_latenciesUs[m_ringIndex] = sentAtUs == 0 ? 0 : nowUs - sentAtUs;
        m_intervalsUs[m_ringIndex] = static_cast<float>(nowUs - m_lastResultAtUs);
        m_ringIndex = (m_ringIndex + 1) % kWindow;
    }
    m_lastResultAtUs = nowUs;
    if (first)
        return std::nullopt;
    return figures();
}

ThroughputFigures Throughput::figures() const
{
    std::uint32_t latencies = 0; // the low 32 bits of their sum
    for (const std::uint64_t latency : m_latenciesUs)
        latencies += static_cast<std::uint32_t>(latency);

    ThroughputFigures result;
    result.fps =
        static_cast<float>(1'000'000 / (sumOf(m_intervalsUs) / static_cast<double>(kWindow)));
    result.latencyUs = static_cast<std::int32_t>(latencies) / static_cast<std::int32_t>(kWindow);
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
