#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "inference/message_buffer.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// One of the application's segments, mapped into this process for as long as this lives. Any
// thread may call; the protocol gives a segment to one frame at a time.
class AttachedSegment
{
public:
    // Null, with the reason logged, when there is no such segment.
    [[nodiscard]] static std::shared_ptr<AttachedSegment> attach(const std::string& name);

    ~AttachedSegment();
    AttachedSegment(const AttachedSegment&) = delete;
    AttachedSegment& operator=(const AttachedSegment&) = delete;

    // Writes the size word and the message. False, with nothing written, when the application has
    // committed less than that.
    [[nodiscard]] bool write(const MessageBuffer& message);

private:
    struct Mapping;

    explicit AttachedSegment(std::unique_ptr<Mapping> mapping);

    const std::unique_ptr<Mapping> m_mapping;
};

// The segments that the application has named, by name. It creates, sizes and names them; here
// they are attached on first sight and kept until it closes them, so that later frames cost no
// attaching. Any thread may call.
class AttachedSegments
{
public:
    // Names are from now on those of another run of the application: one that comes again means
    // another segment. The views of earlier runs stay until their name comes again.
    void startRun();

    // Attaches on first sight in this run. Null, with the reason logged, on failure.
    [[nodiscard]] std::shared_ptr<AttachedSegment> find(const std::string& name);

    // False if the name is not attached. A thread that still writes to the segment keeps it mapped
    // until it is done.
    [[nodiscard]] bool close(const std::string& name);

private:
    struct Entry
    {
        std::uint64_t run = 0;
        std::shared_ptr<AttachedSegment> segment;
    };

    Mutex m_segmentLock; // a leaf; held while attaching, never while writing
    std::uint64_t m_run GUARDED_BY(m_segmentLock) = 0;
    std::unordered_map<std::string, Entry> m_segments GUARDED_BY(m_segmentLock);
};

} // namespace tavo::vms_server_plugins::analytics::orlix
