#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

#include <sys/types.h>

namespace tavo::bench
{

enum class Processor
{
    first,
    last,
};

// Keeps the calling thread on that one of the processors it may use.
void stayOn(Processor processor);

// The other side of a frame's hand-over, in a process of its own as in real life: answers every
// announcement with the name of its one segment, reads the whole of what was written after the
// completion message, and sleeps in between. Ends with its parent.
class FrameConsumer
{
public:
    // Forks, so no thread may run yet. Listens below `folder`; answers after `delay`.
    explicit FrameConsumer(
        const std::string& folder, std::chrono::microseconds delay = std::chrono::microseconds(0));
    ~FrameConsumer();
    FrameConsumer(const FrameConsumer&) = delete;
    FrameConsumer& operator=(const FrameConsumer&) = delete;

    [[nodiscard]] const std::string& socketPath() const { return m_socketPath; }
    [[nodiscard]] const std::string& segmentName() const { return m_segmentName; }

    // Waits until it has read what was sent so far, and then sleeps.
    void waitUntilAsleep();

private:
    struct Shared;

    [[noreturn]] void run(int listeningSocket);

    const std::string m_socketPath;
    const std::chrono::microseconds m_delay;
    std::string m_segmentName;
    Shared* m_shared = nullptr; // with the child
    std::uint64_t m_waitedFor = 0;
    pid_t m_child = -1;
};

} // namespace tavo::bench
