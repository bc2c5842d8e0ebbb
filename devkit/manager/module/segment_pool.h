#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "module/shared_segment.h"

namespace tavo::devkit
{

// The segments that frames travel in. They belong to no input: a frame takes any free one of its
// size class, so that a few serve many cameras. At most one frame of an input waits for the engine
// and one more is with it, so the pool stays about as large as the number of inputs.
//
// The life of a segment: free; named to a sender; holding a frame; free again. What nobody has
// needed for a while is removed, and one that is too small grows under its name, which the sender's
// view follows. A sender is told to detach a removed one by the reply to its next announcement.
// One thread.
class SegmentPool
{
public:
    using Clock = std::chrono::steady_clock;

    // `record` outlives the pool and knows every segment of it, for the clean-up after a kill.
    explicit SegmentPool(SegmentRecord& record) :
        m_record(record)
    {}

    // Takes a free segment with room for `size` bytes, or makes one. Empty when there is no memory
    // for it, or too much is in use: the frame is then not wanted.
    [[nodiscard]] std::string take(std::size_t size, Clock::time_point now);

    // The sender has confirmed its frame, so it is attached to the segment.
    void confirm(const std::string& name);

    // The frame is done with, or never came; any other may have the segment.
    void giveBack(const std::string& name, Clock::time_point now);

    // The sender may still be writing: the segment is taken out of use for good.
    void abandon(const std::string& name);

    // Bytes of the segment that may be read.
    [[nodiscard]] std::size_t capacity(const std::string& name) const;

    // Removes what has been free for longer than the idle time. To be called now and then.
    void removeIdle(Clock::time_point now);

    // The names of removed segments, each once: for the senders, which are told one at a time and
    // only of segments that they confirmed, and for the engine, which is told of all.
    [[nodiscard]] std::string nextToDetach();
    [[nodiscard]] std::vector<std::string> removedForEngine();

private:
    struct Entry
    {
        SharedSegment segment;
        bool isFree = false;
        bool isAttached = false; // a sender confirmed a frame in it
        Clock::time_point freeSince;
    };

    Entry* find(const std::string& name);
    Entry* bestFree(std::size_t size);
    void remove(std::size_t index);
    bool removeLongestFree();

    static constexpr std::size_t kMaxSegments = 256;
    static constexpr std::chrono::seconds kIdleTime{10};

    SegmentRecord& m_record;
    std::vector<Entry> m_entries;
    std::vector<std::string> m_toDetach;
    std::vector<std::string> m_forEngine;
};

} // namespace tavo::devkit
