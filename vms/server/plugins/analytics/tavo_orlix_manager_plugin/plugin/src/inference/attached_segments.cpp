#include "inference/attached_segments.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

std::shared_ptr<AttachedSegment> attach(std::string_view name)
{
    ShmSegment segment;
    shm_from_name(segment, std::string(name));
    shm_open(segment); // what fails here fails, and is told, when attaching
    ShmView view = shm_attach(segment);
    shm_close(segment); // the view holds what it needs
    if (!shm_is_attached(view))
        return nullptr;
    return std::make_shared<AttachedSegment>(std::move(view));
}

} // namespace

bool AttachedSegment::write(const MessageBuffer& message, CopyChoice& copyChoice)
{
    const CopyWay way = copyChoice.wayFor(message.size());
    MutexLock lock(m_writeLock);
    char* const payload = shm_write_begin(m_view, static_cast<std::uint32_t>(message.size()));
    if (!payload)
        return false;
    const auto begin = std::chrono::steady_clock::now();
    message.copyTo(payload, way);
    const auto took = std::chrono::steady_clock::now() - begin;
    if (!shm_write_end(m_view))
        return false;
    lock.unlock();
    copyChoice.note(message.size(), way, took);
    return true;
}

void AttachedSegments::endRun()
{
    Segments ended; // unmapped without the lock
    const MutexLock lock(m_segmentLock);
    ended.swap(m_segments);
    m_hasWarned = false;
}

std::shared_ptr<AttachedSegment> AttachedSegments::find(std::string_view name)
{
    Segments::node_type leastUsed; // unmapped without the lock
    const MutexLock lock(m_segmentLock);
    ++m_uses;
    const auto known = m_segments.find(name);
    if (known != m_segments.end())
    {
        known->second.lastUse = m_uses;
        return known->second.segment;
    }

    log_debug("SHM not attached yet. Attaching...\n");
    auto segment = attach(name);
    if (segment)
    {
        leastUsed = makeRoom();
        m_segments.emplace(name, Entry{segment, m_uses});
    }
    return segment;
}

AttachedSegments::Segments::node_type AttachedSegments::makeRoom()
{
    if (m_segments.size() < kMost)
        return {};
    if (!std::exchange(m_hasWarned, true))
    {
        log_info(
            "Warning: The application names more than %zu segments and closes none. Those not used "
            "for longest are let go.\n",
            kMost);
    }
    return m_segments.extract(std::min_element(
        m_segments.begin(), m_segments.end(),
        [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; }));
}

bool AttachedSegments::close(std::string_view name)
{
    const MutexLock lock(m_segmentLock);
    const auto known = m_segments.find(name);
    if (known == m_segments.end())
        return false;
    m_segments.erase(known);
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
