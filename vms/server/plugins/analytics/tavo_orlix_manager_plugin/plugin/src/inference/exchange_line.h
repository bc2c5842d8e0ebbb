#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace tavo::vms_server_plugins::analytics::orlix
{

// The line of the cameras before the exchange with the application, which serves one at a time. A
// camera has its place from the moment that a frame of it comes until it has its turn, however many
// of its frames that takes: a frame waits for kPatience and is then old, and the next one stands in
// its camera's place. Of those who are there the camera that has waited longest has the next turn.
// So no frame is old when its exchange begins, and each camera has its share. Any thread may call.
class ExchangeLine
{
public:
    static constexpr std::chrono::milliseconds kPatience{200};

    // A camera's place, which is its own and lives as long as it.
    class Place
    {
        friend class ExchangeLine;
        std::uint64_t m_number = 0; // the smaller, the further ahead; 0: none
    };

    // The turn of a camera, for as long as this lives.
    class Turn
    {
    public:
        // Waits for the turn. False afterwards if it did not come in time or the line is closed:
        // the camera keeps its place. The caller holds no lock from LockLevel::turn on.
        Turn(ExchangeLine& line, Place& place, std::chrono::milliseconds patience = kPatience);
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        explicit operator bool() const { return m_has; }

    private:
        ExchangeLine& m_line;
        const bool m_has;
    };

    // How many wait now.
    [[nodiscard]] std::size_t length() const;

    // Ends all waits, those to come included: there is no turn any more.
    void close();

private:
    struct Waiter
    {
        const std::uint64_t number;
        std::condition_variable itsTurn = {};
        bool hasTurn = false;
    };

    [[nodiscard]] bool waitForTurn(Place& place, std::chrono::milliseconds patience);
    void endTurn();

    mutable std::mutex m_mutex; // over all below, and the places
    std::uint64_t m_lastNumber = 0;
    bool m_isTaken = false;
    bool m_isClosed = false;
    std::vector<Waiter*> m_waiters; // there is one only while it is taken
};

} // namespace tavo::vms_server_plugins::analytics::orlix
