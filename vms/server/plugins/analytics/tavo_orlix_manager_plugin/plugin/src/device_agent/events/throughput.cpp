#include "device_agent/events/throughput.h"

#include <limits>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

static_assert(std::numeric_limits<float>::is_iec559, "a sum of 0 gives an infinite frame rate");

// What lies beyond the integer's range becomes its nearest end.
std::int32_t truncated(float value)
{
    constexpr float kEnd = 2147483648.0f; // 2^31
    if (!(value < kEnd))
        return std::numeric_limits<std::int32_t>::max();
    if (value < -kEnd)
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);
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
    // The interval's sum is cut to whole microseconds after each addition; that of the latencies
    // keeps its low 32 bits.
    std::int32_t intervals = 0;
    for (const float interval : m_intervalsUs)
        intervals = truncated(static_cast<float>(intervals) + interval);
    std::uint32_t latencies = 0;
    for (const std::uint64_t latency : m_latenciesUs)
        latencies += static_cast<std::uint32_t>(latency);

    ThroughputFigures result;
    result.fps = static_cast<float>(1'000'000 / (intervals / static_cast<double>(kWindow)));
    result.latencyUs = static_cast<std::int32_t>(latencies) / static_cast<std::int32_t>(kWindow);
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
