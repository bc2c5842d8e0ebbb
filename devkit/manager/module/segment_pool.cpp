#include "module/segment_pool.h"

#include <algorithm>
#include <utility>

namespace tavo::devkit
{
namespace
{

// A segment serves frames down to this part of its size, so that a small camera's frames do not
// end up in the segments of a large one, and these in a race to grow all others.
constexpr std::size_t kSizeClass = 4;

bool isOfClass(std::size_t capacity, std::size_t size)
{
    return capacity / kSizeClass <= size && size / kSizeClass <= capacity;
}

} // namespace

std::string SegmentPool::take(std::size_t size, Clock::time_point now)
{
    if (Entry* const entry = bestFree(size))
    {
        if (entry->segment.capacity() >= size || entry->segment.grow(size))
        {
            entry->isFree = false;
            return entry->segment.name();
        }
    }
    if (m_entries.size() >= kMaxSegments && !removeLongestFree())
        return {};
    std::optional<SharedSegment> created = SharedSegment::create(size, m_record);
    // Memory may be short because it lies about unused.
    while (!created && removeLongestFree())
        created = SharedSegment::create(size, m_record);
    if (!created)
        return {};
    m_entries.push_back({std::move(*created), false, false, now});
    return m_entries.back().segment.name();
}

void SegmentPool::confirm(const std::string& name)
{
    if (Entry* const entry = find(name))
        entry->isAttached = true;
}

void SegmentPool::giveBack(const std::string& name, Clock::time_point now)
{
    if (Entry* const entry = find(name))
    {
        entry->isFree = true;
        entry->freeSince = now;
    }
}

void SegmentPool::abandon(const std::string& name)
{
    if (Entry* const entry = find(name))
        remove(static_cast<std::size_t>(entry - m_entries.data()));
}

std::size_t SegmentPool::capacity(const std::string& name) const
{
    const auto entry = std::find_if(
        m_entries.begin(), m_entries.end(),
        [&](const Entry& candidate) { return candidate.segment.name() == name; });
    return entry == m_entries.end() ? 0 : entry->segment.capacity();
}

void SegmentPool::removeIdle(Clock::time_point now)
{
    for (std::size_t i = m_entries.size(); i-- > 0;)
    {
        if (m_entries[i].isFree && now - m_entries[i].freeSince > kIdleTime)
            remove(i);
    }
}

std::string SegmentPool::nextToDetach()
{
    if (m_toDetach.empty())
        return {};
    std::string name = std::move(m_toDetach.back());
    m_toDetach.pop_back();
    return name;
}

std::vector<std::string> SegmentPool::removedForEngine()
{
    return std::exchange(m_forEngine, {});
}

SegmentPool::Entry* SegmentPool::find(const std::string& name)
{
    const auto entry = std::find_if(
        m_entries.begin(), m_entries.end(),
        [&](const Entry& candidate) { return candidate.segment.name() == name; });
    return entry == m_entries.end() ? nullptr : &*entry;
}

// Of the free segments of the size's class: the one last used of those that are large enough, so
// that its pages are warm and others can go idle; else any, to be grown.
SegmentPool::Entry* SegmentPool::bestFree(std::size_t size)
{
    const auto isLargeEnough = [&](const Entry& entry) { return entry.segment.capacity() >= size; };
    Entry* best = nullptr;
    for (Entry& entry : m_entries)
    {
        if (!entry.isFree || !isOfClass(entry.segment.capacity(), size))
            continue;
        if (!best || isLargeEnough(entry) > isLargeEnough(*best) ||
            (isLargeEnough(entry) == isLargeEnough(*best) && entry.freeSince > best->freeSince))
        {
            best = &entry;
        }
    }
    return best;
}

void SegmentPool::remove(std::size_t index)
{
    Entry& entry = m_entries[index];
    if (entry.isAttached)
        m_toDetach.push_back(entry.segment.name());
    m_forEngine.push_back(entry.segment.name());
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(index));
}

bool SegmentPool::removeLongestFree()
{
    std::size_t longest = m_entries.size();
    for (std::size_t i = 0; i < m_entries.size(); ++i)
    {
        if (m_entries[i].isFree &&
            (longest == m_entries.size() || m_entries[i].freeSince < m_entries[longest].freeSince))
        {
            longest = i;
        }
    }
    if (longest == m_entries.size())
        return false;
    remove(longest);
    return true;
}

} // namespace tavo::devkit
