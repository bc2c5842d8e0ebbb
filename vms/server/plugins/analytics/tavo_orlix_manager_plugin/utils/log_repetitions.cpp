#include "utils/log_repetitions.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

std::uint64_t kindOf(const char* format, std::string_view subject)
{
    const std::uint64_t hash = std::hash<std::string_view>()(subject);
    return (hash ^ std::hash<const void*>()(format)) | 1; // 0 is a free place
}

} // namespace

std::optional<std::uint64_t> LogRepetitions::pass(
    const char* format, std::string_view subject, Clock::time_point now)
{
    const std::uint64_t kind = kindOf(format, subject);
    const auto known = std::find(m_kinds.begin(), m_kinds.end(), kind);
    if (known == m_kinds.end())
    {
        const auto oldest = std::ranges::min_element(m_entries, {}, &Entry::lastAt);
        m_kinds[static_cast<std::size_t>(oldest - m_entries.begin())] = kind;
        *oldest = {now, 0};
        return 0;
    }
    Entry& entry = m_entries[static_cast<std::size_t>(known - m_kinds.begin())];
    if (now - entry.lastAt < kInterval)
    {
        ++entry.leftOut;
        return std::nullopt;
    }
    entry.lastAt = now;
    return std::exchange(entry.leftOut, 0);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
