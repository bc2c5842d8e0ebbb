#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A mutex for long work under load. While threads wait, whoever unlocks it hands it over to one of
// them, so that nobody who comes along takes it from under them. They wait in two lanes, each in
// the order of arrival: those who are ahead get it before those in line.
//
// So one who is ahead waits for the holder, and for others ahead. One in line waits for each of
// those before it once, and for whoever is ahead: that lane is for those who come seldom or hold it
// briefly.
//
// A thread that is ahead and has more to do is not there when it unlocks. Behind a long turn in
// line it may therefore come back for a moment, a small part of what the turn took, before the next
// one in line has its turn: with one request a turn it would fall behind for good as soon as there
// is more than one for each.
//
// Taking and giving back cost one atomic operation each while nobody waits, and a look at the clock
// in line. Not recursive.
class CAPABILITY("mutex") FairMutex
{
public:
    enum class Lane
    {
        ahead,
        inLine,
    };

    explicit FairMutex(LockLevel level) :
        m_level(level)
    {}
    FairMutex(const FairMutex&) = delete;
    FairMutex& operator=(const FairMutex&) = delete;

    void lock(Lane lane) ACQUIRE()
    {
        lock_order::taking(m_level);
        std::uint32_t state = kFree;
        if (!m_state.compare_exchange_strong(state, kHeld, std::memory_order_acquire))
            waitFor(lane);
        m_holdersLane = lane;
        if (lane == Lane::inLine)
            m_turnBegan = Clock::now();
    }

    void unlock() RELEASE()
    {
        std::uint32_t state = kHeld;
        if (!m_state.compare_exchange_strong(state, kFree, std::memory_order_release))
            handOver();
        lock_order::released(m_level);
    }

private:
    using Clock = std::chrono::steady_clock;

    // Free and held, the lanes are empty; awaited, it is held and one of them is not; kept, nobody
    // holds it, and the first in line waits until m_keptUntil for somebody ahead to come back.
    static constexpr std::uint32_t kFree = 0;
    static constexpr std::uint32_t kHeld = 1;
    static constexpr std::uint32_t kAwaited = 2;
    static constexpr std::uint32_t kKept = 3;

    struct Waiter
    {
        std::condition_variable itsTurn;
        bool isHolder = false;
        Waiter* next = nullptr;
    };

    // First in, first out. The waiters are their threads' own.
    class Queue
    {
    public:
        [[nodiscard]] bool isEmpty() const { return !m_first; }
        [[nodiscard]] Waiter* first() const { return m_first; }
        void push(Waiter& waiter);
        Waiter& pop();

    private:
        Waiter* m_first = nullptr;
        Waiter* m_last = nullptr;
    };

    void waitFor(Lane lane);
    void handOver();
    [[nodiscard]] bool takeOrAnnounce(Lane lane);
    [[nodiscard]] bool takeWhatWasKept(const Waiter& waiter);
    void keepForThoseAhead();

    const LockLevel m_level;
    std::atomic<std::uint32_t> m_state{kFree};
    // The holder's.
    Lane m_holdersLane = Lane::ahead;
    Clock::time_point m_turnBegan; // of the last one in line

    std::mutex m_lanes; // guards the rest, and m_state's way to and from kAwaited and kKept
    Queue m_ahead;
    Queue m_inLine;
    Clock::time_point m_keptUntil;
};

// Holds a FairMutex for its scope.
class SCOPED_CAPABILITY FairMutexLock
{
public:
    explicit FairMutexLock(FairMutex& mutex, FairMutex::Lane lane = FairMutex::Lane::ahead)
        ACQUIRE(mutex) :
        m_mutex(mutex)
    {
        m_mutex.lock(lane);
    }
    ~FairMutexLock() RELEASE() { m_mutex.unlock(); }
    FairMutexLock(const FairMutexLock&) = delete;
    FairMutexLock& operator=(const FairMutexLock&) = delete;

private:
    FairMutex& m_mutex;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
