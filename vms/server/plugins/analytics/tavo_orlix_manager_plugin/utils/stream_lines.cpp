#include "utils/stream_lines.h"

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#else
#include <cstring>
#endif

namespace tavo::vms_server_plugins::analytics::orlix
{

#if defined(__SSE2__)

namespace
{

// How far ahead the source is asked for: a frame is larger than the caches, and under load the
// processor's own foresight alone takes up to twice as long. It may reach behind the source's end.
constexpr std::size_t kAhead = 512;

} // namespace

bool can_stream()
{
    return true;
}

// A line that is written whole is never read first.
void stream_lines(char* target, const char* source, std::size_t lines)
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

void end_stream()
{
    _mm_sfence(); // streamed stores are not ordered by a release
}

#else

bool can_stream()
{
    return false;
}

void stream_lines(char* target, const char* source, std::size_t lines)
{
    std::memcpy(target, source, lines * kCacheLine);
}

void end_stream() {}

#endif

} // namespace tavo::vms_server_plugins::analytics::orlix
