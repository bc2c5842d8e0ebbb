#include "utils/copy_to_shared.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tavo::vms_server_plugins::analytics::orlix
{

SharedCopy::SharedCopy(void* target, CopyWay way) :
    m_target(static_cast<char*>(target)),
    m_streaming(way == CopyWay::streaming)
{}

void SharedCopy::append(const void* source, std::size_t size)
{
    if (size == 0)
        return;
    const char* from = static_cast<const char*>(source);
    const auto take = [&](char* to, std::size_t count)
    {
        std::memcpy(to, from, count);
        from += count;
        size -= count;
    };
    if (!m_streaming)
    {
        take(m_target, size);
        m_target = m_target + (from - static_cast<const char*>(source));
        return;
    }
    const std::size_t toBoundary = -reinterpret_cast<std::uintptr_t>(m_target) % kCacheLine;
    const std::size_t head = std::min(toBoundary, size);
    take(m_target, head);
    m_target += head;
    if (m_staged > 0)
    {
        const std::size_t missing = std::min(kCacheLine - m_staged, size);
        take(m_line + m_staged, missing);
        m_staged += missing;
        if (m_staged < kCacheLine)
            return;
        stream_lines(m_target, m_line, 1);
        m_target += kCacheLine;
        m_staged = 0;
    }
    const std::size_t lines = size / kCacheLine;
    stream_lines(m_target, from, lines);
    m_target += lines * kCacheLine;
    from += lines * kCacheLine;
    size -= lines * kCacheLine;
    m_staged = size;
    take(m_line, size);
}

void SharedCopy::finish()
{
    if (!m_streaming)
        return;
    std::memcpy(m_target, m_line, m_staged);
    m_streaming = false;
    end_stream();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
