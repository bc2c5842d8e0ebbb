#pragma once

#include <cstddef>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Writes to memory that another process will read next, piece behind piece. A large amount goes
// past this processor's caches where the processor can do that, which spares the fetching of lines
// that the other one holds. The result is that of memcpy; other threads see all of it once finish
// was called and this thread released what they acquire.
class SharedCopy
{
public:
    // `total` is what all pieces together are expected to have; it decides the way of copying only.
    SharedCopy(void* target, std::size_t total);
    ~SharedCopy() { finish(); }
    SharedCopy(const SharedCopy&) = delete;
    SharedCopy& operator=(const SharedCopy&) = delete;

    // `source` does not overlap the target.
    void append(const void* source, std::size_t size);

    // Nothing is appended after it.
    void finish();

private:
    static constexpr std::size_t kLine = 64; // bytes of a cache line

    char* m_target; // where the next whole line, or the next byte, goes
    bool m_streaming;
    std::size_t m_staged = 0; // bytes of the line in progress
    alignas(kLine) char m_line[kLine];
};

inline void copy_to_shared(void* target, const void* source, std::size_t size)
{
    SharedCopy copy(target, size);
    copy.append(source, size);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
