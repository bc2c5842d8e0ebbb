#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <limits>

#include "utils/copy_to_shared.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Finds out which way of copying is the quicker one on this machine, which no table could know: it
// depends on the sizes and on whether the processors of writer and reader share a cache. Both ways
// are timed on the copies that have to be made anyway, for each class of sizes by itself.
//
// The first copies of a class try both ways, a block each: the first copy of a block meets the
// caches as the other way left them, and does not count. From then on the quicker way is used. The
// other one is tried again now and then, so seldom that it costs a fiftieth of the time at most; at
// once when the way in use has become much slower than it was. Any thread may call.
class CopyChoice
{
public:
    using Duration = std::chrono::nanoseconds;

    // The way for the next copy of `size` bytes.
    [[nodiscard]] CopyWay wayFor(std::size_t size) EXCLUDES(m_mutex);

    // What that copy took.
    void note(std::size_t size, CopyWay way, Duration took) EXCLUDES(m_mutex);

    static constexpr int kBlock = 4; // copies

private:
    // Costs are nanoseconds per byte.
    class SizeClass
    {
    public:
        [[nodiscard]] CopyWay way() const { return m_tried; }
        void note(CopyWay way, double cost);

    private:
        void endBlock();
        void startBlock(CopyWay way);
        void endTrial();
        [[nodiscard]] bool isTrialDue() const;
        [[nodiscard]] double costOf(CopyWay way) const { return m_costs[std::size_t(way)]; }

        CopyWay m_used = CopyWay::plain; // the quicker one
        CopyWay m_tried = CopyWay::plain; // of the block under way
        int m_copies = 0; // of the block
        double m_blockCost = std::numeric_limits<double>::infinity(); // the least of the block
        double m_trialExtra = 0; // what the last trial has cost beyond the way in use
        std::array<double, 2> m_costs{}; // of the last block of each way; 0: none yet
        double m_settledCost = 0; // of the way in use, when it was last compared
        int m_sinceTrial = 0; // copies
    };

    // By powers of two, from the smallest that is worth it to the largest message.
    static constexpr std::size_t kClasses = 12;

    [[nodiscard]] SizeClass& classOf(std::size_t size) REQUIRES(m_mutex);

    Mutex m_mutex; // a leaf
    std::array<SizeClass, kClasses> m_classes GUARDED_BY(m_mutex);
};

} // namespace tavo::vms_server_plugins::analytics::orlix
