#include "utils/copy_to_shared.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

// Below it the copy is about to be read from this processor's caches more often than not, and the
// fence costs more than it saves.
constexpr std::size_t kStreamFrom = 64 * 1024;

#if defined(__SSE2__)

constexpr bool kCanStream = true;

// How far ahead the source is asked for: a frame is larger than the caches, and under load the
// processor's own foresight alone takes up to twice as long. It may reach behind the source's end.
constexpr std::size_t kAhead = 512;

// `target` is at the start of a cache line. A line that is written whole is never read first.
void streamLines(char* target, const char* source, std::size_t lines)
{
    auto* to = reinterpret_cast<__m128i*>(target);
    auto* from = reinterpret_cast<const __m128i*>(source);
    for (std::size_t i = 0; i < lines; ++i, to += 4, from += 4)
    {
        const std::uintptr_t ahead = reinterpret_cast<std::uintptr_t>(from) + kAhead;
        _mm_prefetch(reinterpret_cast<const char*>(ahead), _MM_HINT_NTA);
        const __m128i a = _mm_loadu_si128(from);
        const __m128i b = _mm_loadu_si128(from + 1);
        const __m128i c = _mm_loadu_si128(from + 2);
        const __m128i d = _mm_loadu_si128(from + 3);
        _mm_stream_si128(to, a);
        _mm_stream_si128(to + 1, b);
        _mm_stream_si128(to + 2, c);
        _mm_stream_si128(to + 3, d);
    }
}

void endStream()
{
    _mm_sfence(); // streamed stores are not ordered by a release
}

#else

constexpr bool kCanStream = false;

void streamLines(char*, const char*, std::size_t) {}
void endStream() {}

#endif

} // namespace

SharedCopy::SharedCopy(void* target, std::size_t total) :
    m_target(static_cast<char*>(target)),
    m_streaming(kCanStream && total >= kStreamFrom)
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
    const std::size_t toBoundary = -reinterpret_cast<std::uintptr_t>(m_target) % kLine;
    const std::size_t head = std::min(toBoundary, size);
    take(m_target, head);
    m_target += head;
    if (m_staged > 0)
    {
        const std::size_t missing = std::min(kLine - m_staged, size);
        take(m_line + m_staged, missing);
        m_staged += missing;
        if (m_staged < kLine)
            return;
        streamLines(m_target, m_line, 1);
        m_target += kLine;
        m_staged = 0;
    }
    const std::size_t lines = size / kLine;
    streamLines(m_target, from, lines);
    m_target += lines * kLine;
    from += lines * kLine;
    size -= lines * kLine;
    m_staged = size;
    take(m_line, size);
}

void SharedCopy::finish()
{
    if (!m_streaming)
        return;
    std::memcpy(m_target, m_line, m_staged);
    m_target += m_staged;
    m_staged = 0;
    m_streaming = false;
    endStream();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
