#include "utils/fair_mutex.h"

#include <utility>

namespace tavo::vms_server_plugins::analytics::orlix
{

void FairMutex::Queue::push(Waiter& waiter)
{
    (m_first ? m_last->next : m_first) = &waiter;
    m_last = &waiter;
}

FairMutex::Waiter& FairMutex::Queue::pop()
{
    return *std::exchange(m_first, m_first->next);
}

void FairMutex::waitFor(Lane lane)
{
    std::unique_lock lanes(m_lanes);
    if (takeOrAnnounce())
        return;
    Waiter self;
    (lane == Lane::ahead ? m_ahead : m_inLine).push(self);
    self.itsTurn.wait(lanes, [&self] { return self.isHolder; });
}

// True if it had become free and is now held; otherwise its holder will hand it over.
bool FairMutex::takeOrAnnounce()
{
    std::uint32_t state = m_state.load(std::memory_order_relaxed);
    while (state != kAwaited)
    {
        const std::uint32_t wanted = state == kFree ? kHeld : kAwaited;
        if (m_state.compare_exchange_weak(state, wanted, std::memory_order_acquire))
            return wanted == kHeld;
    }
    return false;
}

void FairMutex::handOver()
{
    // Held while the waiter is woken, which therefore is still there.
    const std::lock_guard lanes(m_lanes);
    Waiter& next = (m_ahead.isEmpty() ? m_inLine : m_ahead).pop();
    if (m_ahead.isEmpty() && m_inLine.isEmpty())
        m_state.store(kHeld, std::memory_order_relaxed);
    next.isHolder = true;
    next.itsTurn.notify_one();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
