#pragma once

#include <cstddef>

#include "utils/stream_lines.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// How memory is written that another process reads next. Streaming goes past this processor's
// caches, which spares the fetching of lines that the other one holds, and takes up to twice as
// long where the two share a cache. The outcome is the same.
enum class CopyWay
{
    plain, // memcpy
    streaming,
};

// Writes piece behind piece. Other threads see all of it once finish was called and this thread
// released what they acquire.
class SharedCopy
{
public:
    SharedCopy(void* target, CopyWay way);
    ~SharedCopy() { finish(); }
    SharedCopy(const SharedCopy&) = delete;
    SharedCopy& operator=(const SharedCopy&) = delete;

    // `source` does not overlap the target.
    void append(const void* source, std::size_t size);

    // Nothing is appended after it.
    void finish();

private:
    char* m_target; // where the next whole line, or the next byte, goes
    bool m_streaming;
    std::size_t m_staged = 0; // bytes of the line in progress
    alignas(kCacheLine) char m_line[kCacheLine];
};

} // namespace tavo::vms_server_plugins::analytics::orlix
