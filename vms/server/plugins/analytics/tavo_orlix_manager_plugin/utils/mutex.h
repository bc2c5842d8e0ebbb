#pragma once

#include <mutex>

#include "utils/lock_order.h"

// std::mutex with the annotations that clang's -Wthread-safety reads; elsewhere they are empty.
// GUARDED_BY names the lock of a member, REQUIRES the lock that a function's caller holds,
// EXCLUDES the lock that it must not hold.

#if defined(__clang__)
#define ORLIX_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ORLIX_THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) ORLIX_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY ORLIX_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) ORLIX_THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) ORLIX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) ORLIX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) ORLIX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) ORLIX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define RETURN_CAPABILITY(x) ORLIX_THREAD_ANNOTATION(lock_returned(x))
#define NO_THREAD_SAFETY_ANALYSIS ORLIX_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace tavo::vms_server_plugins::analytics::orlix
{

// Which place a mutex has in the order of all is said where it is made; by default it is a leaf.
class CAPABILITY("mutex") Mutex
{
public:
    explicit Mutex(LockLevel level = LockLevel::leaf) :
        m_level(level)
    {}

    void lock() ACQUIRE()
    {
        lock_order::taking(m_level);
        m_mutex.lock();
    }
    void unlock() RELEASE()
    {
        m_mutex.unlock();
        lock_order::released(m_level);
    }

private:
    std::mutex m_mutex;
    const LockLevel m_level;
};

// Holds a Mutex for its scope. unlock() and lock() open a gap in it.
class SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) :
        m_mutex(mutex)
    {
        m_mutex.lock();
    }
    ~MutexLock() RELEASE()
    {
        if (m_held)
            m_mutex.unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void unlock() RELEASE()
    {
        m_mutex.unlock();
        m_held = false;
    }
    void lock() ACQUIRE()
    {
        m_mutex.lock();
        m_held = true;
    }

private:
    Mutex& m_mutex;
    bool m_held = true;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
