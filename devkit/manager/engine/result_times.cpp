#include "engine/result_times.h"

#include "utils/clock.h"

namespace tavo::devkit
{

ResultTimes::ResultTimes(const char* file)
{
    if (file)
        m_file.open(file, std::ios::app);
}

void ResultTimes::note(std::uint64_t inputIndex, std::uint64_t timestampUs)
{
    if (!m_file.is_open())
        return;
    // Whoever reads along, or after a kill, finds whole lines.
    m_file << inputIndex << ' ' << timestampUs << ' '
           << vms_server_plugins::analytics::orlix::time_now_us() << std::endl;
}

} // namespace tavo::devkit
