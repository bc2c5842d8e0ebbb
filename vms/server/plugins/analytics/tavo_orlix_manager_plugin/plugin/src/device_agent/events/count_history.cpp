#include "device_agent/events/count_history.h"

#include <algorithm>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

std::uint64_t mode(const std::vector<std::uint64_t>& values)
{
    std::uint64_t best{};
    std::ptrdiff_t bestFrequency = 0;
    for (const std::uint64_t value : values)
    {
        const std::ptrdiff_t frequency = std::count(values.begin(), values.end(), value);
        if (frequency > bestFrequency)
        {
            best = value;
            bestFrequency = frequency;
        }
    }
    return best;
}

} // namespace

std::uint64_t CountHistory::add(const std::string& name, std::uint64_t count)
{
    std::vector<std::uint64_t>& counts = m_counts[name];
    if (counts.size() == kCountWindow)
        counts.erase(counts.begin());
    counts.push_back(count);
    return mode(counts);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
