#include "utils/fair_mutex.h"

#include <algorithm>
#include <utility>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Below it, nobody could come back in time.
bool isLongerThanWaking(std::chrono::steady_clock::duration time)
{
    return time > std::chrono::microseconds(50);
}

} // namespace

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
    if (takeOrAnnounce(lane))
        return;
    Waiter self;
    (lane == Lane::ahead ? m_ahead : m_inLine).push(self);
    while (!self.isHolder && !takeWhatWasKept(self))
    {
        if (m_state.load(std::memory_order_relaxed) == kKept && m_inLine.first() == &self)
            self.itsTurn.wait_until(lanes, m_keptUntil);
        else
            self.itsTurn.wait(lanes);
    }
}

// True if it was free or kept for this lane, and is now held; otherwise it will be handed over.
bool FairMutex::takeOrAnnounce(Lane lane)
{
    std::uint32_t state = m_state.load(std::memory_order_relaxed);
    if (state == kKept)
    {
        if (lane == Lane::inLine)
            return false;
        m_state.store(kAwaited, std::memory_order_relaxed);
        return true;
    }
    while (state != kAwaited)
    {
        const std::uint32_t wanted = state == kFree ? kHeld : kAwaited;
        if (m_state.compare_exchange_weak(state, wanted, std::memory_order_acquire))
            return wanted == kHeld;
    }
    return false;
}

// Whoever was ahead has not come back in time.
bool FairMutex::takeWhatWasKept(const Waiter& waiter)
{
    if (m_state.load(std::memory_order_relaxed) != kKept || m_inLine.first() != &waiter ||
        Clock::now() < m_keptUntil)
    {
        return false;
    }
    m_inLine.pop();
    m_state.store(m_inLine.isEmpty() ? kHeld : kAwaited, std::memory_order_relaxed);
    return true;
}

void FairMutex::keepForThoseAhead()
{
    constexpr int kPartOfTurn = 32;
    constexpr Clock::duration kMost = std::chrono::milliseconds(10);
    const Clock::time_point now = Clock::now();
    m_keptUntil = now + std::min<Clock::duration>((now - m_turnBegan) / kPartOfTurn, kMost);
}

void FairMutex::handOver()
{
    // Held while the waiter is woken, which therefore is still there.
    const std::lock_guard lanes(m_lanes);
    if (m_holdersLane == Lane::inLine)
        keepForThoseAhead();
    else if (m_ahead.isEmpty() && isLongerThanWaking(m_keptUntil - Clock::now()))
    {
        m_state.store(kKept, std::memory_order_release);
        m_inLine.first()->itsTurn.notify_one(); // to wait no longer than that
        return;
    }
    Waiter& next = (m_ahead.isEmpty() ? m_inLine : m_ahead).pop();
    if (m_ahead.isEmpty() && m_inLine.isEmpty())
        m_state.store(kHeld, std::memory_order_relaxed);
    next.isHolder = true;
    next.itsTurn.notify_one();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
