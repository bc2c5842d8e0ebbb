#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// When the last frames that were handed over had passed the gates, by the timestamp that the host
// gave them, so that their results can be timed. A result does not free its slot: once all are
// taken, the frame with the smallest timestamp makes room for the next. Any thread may call.
class FrameClock
{
public:
    static constexpr std::size_t kSlots = 10;

    void record(std::uint64_t timestampUs, std::uint64_t passedAtUs);

    // The wall clock beside the timestamp, or 0 for a frame that is not remembered.
    [[nodiscard]] std::uint64_t passedAtUs(std::uint64_t timestampUs) const;

private:
    mutable Mutex m_mutex;
    std::array<std::uint64_t, kSlots> m_timestampsUs GUARDED_BY(m_mutex){}; // 0: the slot is free
    std::array<std::uint64_t, kSlots> m_passedAtUs GUARDED_BY(m_mutex){};
};

} // namespace tavo::vms_server_plugins::analytics::orlix
