// What taking a lock and giving it back costs, for each kind of lock: with nobody else about, and
// with many threads that want it, for work of various length under it.

#include <chrono>
#include <latch>
#include <mutex>
#include <thread>

#include <benchmark/benchmark.h>

#include "utils/fair_mutex.h"

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;

constexpr int kManyThreads = 64;

struct StandardMutex
{
    std::mutex mutex;
    void lock() { mutex.lock(); }
    void unlock() { mutex.unlock(); }
};

template <FairMutex::Lane lane>
struct FairMutexIn
{
    FairMutex mutex{LockLevel::settings};
    void lock() NO_THREAD_SAFETY_ANALYSIS { mutex.lock(lane); }
    void unlock() NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); }
};

void workFor(std::chrono::microseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end)
    {}
}

// Real time for each turn of all the threads together, the work under the lock included.
template <class Lock>
void lockAndUnlock(benchmark::State& state)
{
    static Lock lock;
    const std::chrono::microseconds work(state.range(0));
    for (auto _ : state)
    {
        lock.lock();
        if (work.count() > 0)
            workFor(work);
        lock.unlock();
    }
}

void cases(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("work_us")->Arg(0)->Arg(10)->Arg(100);
    benchmark->Threads(1)->Threads(kManyThreads)->UseRealTime()->Unit(benchmark::kNanosecond);
}

BENCHMARK_TEMPLATE(lockAndUnlock, StandardMutex)->Apply(cases);
BENCHMARK_TEMPLATE(lockAndUnlock, FairMutexIn<FairMutex::Lane::inLine>)->Apply(cases);
BENCHMARK_TEMPLATE(lockAndUnlock, FairMutexIn<FairMutex::Lane::ahead>)->Apply(cases);

} // namespace

int main(int argc, char** argv)
{
    // As in a host: the C library takes a std::mutex without an atomic operation while there is
    // only one thread.
    std::latch done(1);
    std::thread other([&done] { done.wait(); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    done.count_down();
    other.join();
    return 0;
}
