#include "module/shared_segment.h"

#include <cstdint>
#include <utility>

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

constexpr std::size_t kMaxPayload = orlix::kShmReservedSize - orlix::kShmHeaderSize;

} // namespace

std::optional<SharedSegment> SharedSegment::create(std::size_t size, SegmentRecord& record)
{
    if (size > kMaxPayload)
        return std::nullopt;
    SharedSegment created;
    orlix::shm_create_random(created.m_segment, static_cast<std::uint32_t>(size));
    if (!orlix::shm_is_valid(created.m_segment))
        return std::nullopt;
    created.m_record = &record;
    record.add(created.name());
    created.m_capacity = orlix::shm_size(created.m_segment);
    if (created.m_capacity < size)
        return std::nullopt;
    return created;
}

SharedSegment::SharedSegment(SharedSegment&& other) noexcept :
    m_segment(std::exchange(other.m_segment, {})),
    m_capacity(other.m_capacity),
    m_record(std::exchange(other.m_record, nullptr))
{}

SharedSegment& SharedSegment::operator=(SharedSegment&& other) noexcept
{
    if (this != &other)
    {
        end();
        m_segment = std::exchange(other.m_segment, {});
        m_capacity = other.m_capacity;
        m_record = std::exchange(other.m_record, nullptr);
    }
    return *this;
}

SharedSegment::~SharedSegment()
{
    end();
}

bool SharedSegment::grow(std::size_t size)
{
    if (size > kMaxPayload || !orlix::shm_resize(m_segment, static_cast<std::uint32_t>(size)))
        return false;
    m_capacity = orlix::shm_size(m_segment);
    return m_capacity >= size;
}

void SharedSegment::end()
{
    if (!m_record)
        return;
    orlix::shm_remove(m_segment);
    orlix::shm_close(m_segment);
    m_record->erase(m_segment.name);
    m_record = nullptr;
}

} // namespace tavo::devkit
