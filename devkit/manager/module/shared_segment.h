#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "module/segment_record.h"
#include "utils/shm.h"

namespace tavo::devkit
{

// A segment of this process's making. Its name ends with it; views of others live on. One thread.
class SharedSegment
{
public:
    // A new segment with a random name and `size` bytes for messages; nothing, with the reason
    // logged, when there is no memory for it. `record` outlives the segment.
    [[nodiscard]] static std::optional<SharedSegment> create(
        std::size_t size, SegmentRecord& record);

    ~SharedSegment();
    SharedSegment(SharedSegment&& other) noexcept;
    SharedSegment& operator=(SharedSegment&& other) noexcept;

    // Makes room for `size` bytes, in views that exist too. False, and nothing changed, when there
    // is no memory.
    [[nodiscard]] bool grow(std::size_t size);

    [[nodiscard]] const std::string& name() const { return m_segment.name; }

    // Bytes of the largest message.
    [[nodiscard]] std::size_t capacity() const { return m_capacity; }

private:
    SharedSegment() = default;
    void end();

    vms_server_plugins::analytics::orlix::ShmSegment m_segment;
    std::size_t m_capacity = 0;
    SegmentRecord* m_record = nullptr; // not owned; null when moved from
};

} // namespace tavo::devkit
