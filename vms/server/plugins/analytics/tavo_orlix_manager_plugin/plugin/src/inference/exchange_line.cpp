#include "inference/exchange_line.h"

#include <algorithm>

#include "utils/lock_order.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

ExchangeLine::Turn::Turn(ExchangeLine& line, Place& place, std::chrono::milliseconds patience) :
    m_line(line),
    m_has(line.waitForTurn(place, patience))
{}

ExchangeLine::Turn::~Turn()
{
    if (m_has)
        m_line.endTurn();
}

bool ExchangeLine::waitForTurn(Place& place, std::chrono::milliseconds patience)
{
    lock_order::taking(LockLevel::turn);
    const auto patienceEnds = std::chrono::steady_clock::now() + patience;
    std::unique_lock lock(m_mutex);
    if (place.m_number == 0)
        place.m_number = ++m_lastNumber;
    bool hasTurn = !m_isTaken && !m_isClosed;
    if (!hasTurn && !m_isClosed)
    {
        Waiter self{place.m_number};
        m_waiters.push_back(&self);
        self.itsTurn.wait_until(
            lock, patienceEnds, [this, &self] { return self.hasTurn || m_isClosed; });
        hasTurn = self.hasTurn;
        if (!hasTurn)
            std::erase(m_waiters, &self);
    }
    if (!hasTurn)
    {
        lock_order::released(LockLevel::turn);
        return false;
    }
    m_isTaken = true;
    place.m_number = 0;
    return true;
}

void ExchangeLine::endTurn()
{
    lock_order::released(LockLevel::turn);
    const std::lock_guard lock(
        m_mutex); // until the waiter is woken, which therefore is still there
    const auto next = std::ranges::min_element(m_waiters, {}, &Waiter::number);
    m_isTaken = next != m_waiters.end();
    if (!m_isTaken)
        return;
    (*next)->hasTurn = true;
    (*next)->itsTurn.notify_one();
    m_waiters.erase(next);
}

std::size_t ExchangeLine::length() const
{
    const std::lock_guard lock(m_mutex);
    return m_waiters.size();
}

void ExchangeLine::close()
{
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    for (Waiter* const waiter : m_waiters)
        waiter->itsTurn.notify_one();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
