#pragma once

#include <chrono>
#include <cstdint>

namespace tavo::vms_server_plugins::analytics::orlix
{

// The least that a transfer may bring. A server that sends a byte now and then passes every
// time-out of the client, which counts silence alone, and would hold its caller for ever.
struct TransferFloor
{
    std::uint64_t bytesPerSecond = 1024;
    std::chrono::milliseconds window = std::chrono::seconds(30); // over which it is an average
};

// Watches one transfer from its construction on. A silence longer than the window is the client's
// affair, which has a time-out for it: the window begins anew with what comes then. But each window
// that was kept up pays for one such silence only, and the first is for nothing. It belongs to the
// thread that pulls the bytes.
class TransferPace
{
public:
    using Clock = std::chrono::steady_clock;

    explicit TransferPace(const TransferFloor& floor, Clock::time_point now = Clock::now()) :
        m_floor(floor),
        m_windowStart(now),
        m_lastArrival(now)
    {}

    // Takes note of bytes that came. False once a window has ended below the floor.
    [[nodiscard]] bool keepsUp(std::uint64_t bytes, Clock::time_point now = Clock::now())
    {
        const bool wasSilent = now - m_lastArrival > m_floor.window;
        m_lastArrival = now;
        if (wasSilent && m_mayBeSilent)
        {
            m_windowStart = now;
            m_bytes = bytes;
            m_mayBeSilent = false;
            return true;
        }
        m_bytes += bytes;
        const auto elapsed =
            std::chrono::duration_cast<std::chrono::milliseconds>(now - m_windowStart);
        if (elapsed < m_floor.window)
            return true;
        const std::uint64_t due =
            m_floor.bytesPerSecond * static_cast<std::uint64_t>(elapsed.count()) / 1000;
        const bool enough = m_bytes >= due;
        m_mayBeSilent = enough;
        m_windowStart = now;
        m_bytes = 0;
        return enough;
    }

private:
    const TransferFloor m_floor;
    Clock::time_point m_windowStart;
    Clock::time_point m_lastArrival;
    bool m_mayBeSilent = true;
    std::uint64_t m_bytes = 0; // in the window
};

} // namespace tavo::vms_server_plugins::analytics::orlix
