#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "inference/message_buffer.h"
#include "utils/copy_choice.h"
#include "utils/mutex.h"
#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// One of the application's segments, mapped into this process for as long as this lives. Any
// thread may call.
class AttachedSegment
{
public:
    explicit AttachedSegment(ShmView view) :
        m_view(std::move(view))
    {}

    // Writes the size word and the message. False, with the reason logged, when the application has
    // committed less than that, or takes it away meanwhile.
    [[nodiscard]] bool write(const MessageBuffer& message, CopyChoice& copyChoice);

private:
    // The protocol gives a segment to one frame at a time; this holds if the application does not.
    Mutex m_writeLock;
    ShmView m_view GUARDED_BY(m_writeLock);
};

// The segments that the application has named, by name. It creates, sizes and names them; here
// they are attached on first sight and kept until it closes them or its run is over, so that later
// frames cost no attaching. An application that closes none loses the one that was not used for
// longest. Any thread may call.
class AttachedSegments
{
public:
    // The run of the application that has named them is over: a name that comes again means another
    // segment. A view would keep the memory of a segment whose name has gone.
    void endRun();

    // Attaches on first sight. Null, with the reason logged, on failure.
    [[nodiscard]] std::shared_ptr<AttachedSegment> find(std::string_view name);

    // False if the name is not attached. A thread that still writes to the segment keeps it mapped
    // until it is done.
    [[nodiscard]] bool close(std::string_view name);

private:
    static constexpr std::size_t kMost = 256;

    struct Entry
    {
        std::shared_ptr<AttachedSegment> segment;
        std::uint64_t lastUse = 0;
    };
    using Segments = std::map<std::string, Entry, std::less<>>;

    [[nodiscard]] Segments::node_type makeRoom() REQUIRES(m_segmentLock);

    Mutex m_segmentLock; // held while attaching, never while writing
    Segments m_segments GUARDED_BY(m_segmentLock);
    std::uint64_t m_uses GUARDED_BY(m_segmentLock) = 0;
    bool m_hasWarned GUARDED_BY(m_segmentLock) = false; // in this run
};

} // namespace tavo::vms_server_plugins::analytics::orlix
