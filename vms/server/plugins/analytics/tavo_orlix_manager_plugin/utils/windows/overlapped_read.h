#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "utils/windows/unique_handle.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// One read after the other from a pipe, each of which may be waited for together with other things.
// The pipe is not owned, and outlives this object. One thread at a time.
class OverlappedRead
{
public:
    enum class Result
    {
        data, // at least a byte, in data()
        ended, // no writer is left
        nothing, // cancelled before anything came
        failed, // the system's error tells why
    };

    explicit OverlappedRead(HANDLE pipe);
    ~OverlappedRead();
    OverlappedRead(const OverlappedRead&) = delete;
    OverlappedRead& operator=(const OverlappedRead&) = delete;

    // False when the system has no event left to wait for.
    [[nodiscard]] explicit operator bool() const { return static_cast<bool>(m_event); }

    static constexpr std::size_t kMost = 4096; // bytes

    // Starts a read of up to `most` bytes, of which take() is to be called. Its failure is told
    // there.
    void start(std::size_t most = kMost);

    // Signalled once the read is over.
    [[nodiscard]] HANDLE event() const { return m_event.get(); }

    // Takes the result of a read, which is waited for; cancelled first if it is not over and
    // `mayWait` is false.
    [[nodiscard]] Result take(bool mayWait);

    // Of the last read: whether a failure was that of a read under way.
    [[nodiscard]] bool wasStarted() const { return m_wasStarted; }

    // Of the last read.
    [[nodiscard]] std::string_view data() const { return {m_buffer.data(), m_count}; }

private:
    HANDLE m_pipe;
    UniqueHandle m_event;
    OVERLAPPED m_overlapped = {};
    std::array<char, kMost> m_buffer;
    DWORD m_count = 0;
    DWORD m_error = ERROR_SUCCESS;
    bool m_wasStarted = false;
    bool m_isUnderWay = false;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
