#include "utils/fair_mutex.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <numeric>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using Lane = FairMutex::Lane;

constexpr std::size_t kThreads = 8;

// Where threads wait until all of them are there.
class StartingLine
{
public:
    explicit StartingLine(std::size_t threads) :
        m_missing(threads)
    {}

    void arriveAndWait()
    {
        --m_missing;
        while (m_missing > 0)
            std::this_thread::yield();
    }

private:
    std::atomic<std::size_t> m_missing;
};

// As long as `goOn` says, each thread holds the lock for a while and asks for it again at once, in
// line. Counts the turns of each.
class Line
{
public:
    using Turns = std::array<int, kThreads>;

    Line(FairMutex& mutex, std::function<bool(const Turns&)> goOn) :
        m_mutex(mutex),
        m_goOn(std::move(goOn))
    {
        for (std::size_t i = 0; i < kThreads; ++i)
            m_threads.emplace_back([this, i] { run(i); });
    }
    ~Line() { end(); }

    const Turns& end()
    {
        for (std::thread& thread : m_threads)
            thread.join();
        m_threads.clear();
        return m_turns;
    }

    // Of all the threads together.
    [[nodiscard]] int turns() const { return m_allTurns; }

private:
    void run(std::size_t index)
    {
        m_start.arriveAndWait();
        for (bool goOn = true; goOn;)
        {
            const FairMutexLock lock(m_mutex, Lane::inLine);
            ++m_turns[index];
            ++m_allTurns;
            // Nobody else runs. A shorter sleep is none on Windows.
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            goOn = m_goOn(m_turns);
        }
    }

    FairMutex& m_mutex;
    const std::function<bool(const Turns&)> m_goOn; // called with the lock held
    Turns m_turns{}; // guarded by the mutex
    std::atomic<int> m_allTurns{0};
    StartingLine m_start{kThreads};
    std::vector<std::thread> m_threads;
};

} // namespace

TEST(FairMutex, IsHeldByOneThreadAndNoTurnIsLost)
{
    constexpr int kTurns = 4'000;
    FairMutex mutex(LockLevel::settings);
    int turns = 0; // not atomic
    StartingLine start(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i)
    {
        threads.emplace_back(
            [&, lane = i % 2 == 0 ? Lane::ahead : Lane::inLine]
            {
                start.arriveAndWait();
                for (int turn = 0; turn < kTurns; ++turn)
                {
                    const FairMutexLock lock(mutex, lane);
                    ++turns;
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(static_cast<int>(kThreads) * kTurns, turns);
}

TEST(FairMutex, ThreadsInLineTakeTurns)
{
    constexpr int kMost = 50;
    FairMutex mutex(LockLevel::settings);
    const Line::Turns turns =
        Line(
            mutex,
            [](const Line::Turns& soFar) { return *std::ranges::max_element(soFar) < kMost; })
            .end();
    // Who is not scheduled while it is about to ask misses a few.
    EXPECT_LT(kMost / 4, *std::ranges::min_element(turns));
}

TEST(FairMutex, WhoIsAheadWaitsForNoMoreThanTheHolder)
{
    constexpr int kRequests = 50;
    constexpr int kMost = 2'500; // turns of the line, if nobody gets ahead of it
    FairMutex mutex(LockLevel::settings);
    std::atomic<bool> done = false;
    Line line(
        mutex,
        [&done](const Line::Turns& soFar)
        { return !done && std::accumulate(soFar.begin(), soFar.end(), 0) < kMost; });
    while (line.turns() < static_cast<int>(kThreads)) // all have come
        std::this_thread::yield();

    int turnsWaitedFor = 0;
    for (int i = 0; i < kRequests; ++i)
    {
        const int before = line.turns();
        {
            const FairMutexLock lock(mutex);
            turnsWaitedFor += line.turns() - before;
        }
        std::this_thread::yield();
    }
    done = true;
    // The turn that was under way is in `before`; in line it would be each thread's.
    EXPECT_GT(2 * kRequests, turnsWaitedFor);
}

// Else one who has many requests would get through with one of them in each turn of the line.
TEST(FairMutex, WhoIsAheadMayComeBackBehindALongTurn)
{
    constexpr int kRequests = 40;
    FairMutex mutex(LockLevel::settings);
    std::atomic<bool> done = false;
    std::atomic<int> turns = 0;
    std::vector<std::thread> line;
    for (int i = 0; i < 2; ++i)
    {
        line.emplace_back(
            [&]
            {
                while (!done)
                {
                    const FairMutexLock lock(mutex, Lane::inLine);
                    ++turns;
                    std::this_thread::sleep_for(std::chrono::milliseconds(100));
                }
            });
    }
    while (turns < 2) // both have come
        std::this_thread::yield();
    const int before = turns;
    for (int i = 0; i < kRequests; ++i)
        const FairMutexLock lock(mutex);
    EXPECT_GT(kRequests / 4, turns - before);
    const int then = turns;
    while (turns < then + 4) // and the line goes on, both of it
        std::this_thread::yield();
    done = true;
    for (std::thread& thread : line)
        thread.join();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
