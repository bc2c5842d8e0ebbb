#include "device_agent/frame_clock.h"

#include <algorithm>

#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void FrameClock::record(std::uint64_t timestampUs, std::uint64_t passedAtUs)
{
    const MutexLock lock(m_mutex);
    // An empty one has the time 0.
    const auto slot = std::min_element(m_timestampsUs.begin(), m_timestampsUs.end());
    if (*slot != 0)
        log_debug("Replacing oldest frame time.\n");
    *slot = timestampUs;
    m_passedAtUs[static_cast<std::size_t>(slot - m_timestampsUs.begin())] = passedAtUs;
}

std::uint64_t FrameClock::passedAtUs(std::uint64_t timestampUs) const
{
    const MutexLock lock(m_mutex);
    const auto slot = std::find(m_timestampsUs.begin(), m_timestampsUs.end(), timestampUs);
    if (slot == m_timestampsUs.end())
        return 0;
    return m_passedAtUs[static_cast<std::size_t>(slot - m_timestampsUs.begin())];
}

} // namespace tavo::vms_server_plugins::analytics::orlix
