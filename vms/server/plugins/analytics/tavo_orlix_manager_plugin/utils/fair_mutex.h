#pragma once

#include <atomic>
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
// Taking and giving back cost one atomic operation each while nobody waits. Not recursive.
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
    }

    void unlock() RELEASE()
    {
        std::uint32_t state = kHeld;
        if (!m_state.compare_exchange_strong(state, kFree, std::memory_order_release))
            handOver();
        lock_order::released(m_level);
    }

private:
    // Free and held, the lanes are empty; awaited, it is held and one of them is not.
    static constexpr std::uint32_t kFree = 0;
    static constexpr std::uint32_t kHeld = 1;
    static constexpr std::uint32_t kAwaited = 2;

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
        void push(Waiter& waiter);
        Waiter& pop();

    private:
        Waiter* m_first = nullptr;
        Waiter* m_last = nullptr;
    };

    void waitFor(Lane lane);
    void handOver();
    [[nodiscard]] bool takeOrAnnounce();

    const LockLevel m_level;
    std::atomic<std::uint32_t> m_state{kFree};
    std::mutex m_lanes; // guards the queues, and m_state's way to and from kAwaited
    Queue m_ahead;
    Queue m_inLine;
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
