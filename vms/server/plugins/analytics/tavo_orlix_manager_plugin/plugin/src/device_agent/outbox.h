#pragma once

#include <exception>
#include <optional>
#include <utility>

#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Hands values on so that the one that was made last is handed on last, with no lock held over it:
// one thread at a time does it, and whoever comes meanwhile leaves the value to that one.
template <class Value>
class Outbox
{
public:
    // Takes a value, which replaces one that was not handed on yet. Called under the lock that the
    // values are made under: that gives their order.
    void put(Value value) EXCLUDES(m_mutex)
    {
        const MutexLock lock(m_mutex);
        m_due = std::move(value);
    }

    // Gives `handOn` what is due until nothing is. Does nothing while another call is at that, also
    // one of this thread's. Throws the last thing that `handOn` threw.
    template <class HandOn>
    void flush(HandOn handOn) EXCLUDES(m_mutex)
    {
        MutexLock lock(m_mutex);
        if (std::exchange(m_isBeingFlushed, true))
            return;
        std::exception_ptr failure;
        while (m_due)
        {
            const Value value = std::move(*std::exchange(m_due, std::nullopt));
            lock.unlock();
            try
            {
                handOn(value);
            }
            catch (...)
            {
                failure = std::current_exception();
            }
            lock.lock();
        }
        m_isBeingFlushed = false;
        lock.unlock();
        if (failure)
            std::rethrow_exception(failure);
    }

private:
    Mutex m_mutex;
    std::optional<Value> m_due GUARDED_BY(m_mutex);
    bool m_isBeingFlushed GUARDED_BY(m_mutex) = false;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
