#include "counting.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <execinfo.h>

namespace tavo::failing_calls
{

namespace
{

// Of this library's own, since it is there from the start of the program: its thread-local data
// needs no memory when it is touched.
__attribute__((tls_model("initial-exec"))) thread_local unsigned t_caller = 0;

std::atomic<int> g_kind{-1}; // -1: none
std::atomic<unsigned> g_callers{0};
std::atomic<std::uint64_t> g_nth{0};
std::atomic<std::uint64_t> g_calls{0};
std::atomic<bool> g_hasFailed{false};
std::atomic<int> g_trace{-1};
std::atomic<unsigned> g_threads{0};
std::atomic<long> g_sleepLimitMs{0};

constexpr std::array kErrors{EMFILE,       EIO,   ENOSPC,     EACCES, ENOMEM, ENOSPC, EMFILE,
                             ECONNREFUSED, EPIPE, ECONNRESET, EMFILE, EAGAIN, EAGAIN, ENOMEM};

// Addresses of blocks, in a table that needs no memory of its own: open addressing, closed up at a
// removal.
class Blocks
{
public:
    void add(const void* block)
    {
        const Lock lock(m_busy);
        if (m_count > kSize / 2)
            std::abort(); // made too small
        std::size_t at = placeOf(block);
        while (m_places[at] && m_places[at] != block)
            at = (at + 1) % kSize;
        m_count += m_places[at] ? 0 : 1;
        m_places[at] = block;
    }

    void remove(const void* block)
    {
        if (m_count == 0)
            return;
        const Lock lock(m_busy);
        std::size_t at = placeOf(block);
        while (m_places[at] && m_places[at] != block)
            at = (at + 1) % kSize;
        if (!m_places[at])
            return;
        --m_count;
        for (std::size_t next = (at + 1) % kSize; m_places[next]; next = (next + 1) % kSize)
        {
            const std::size_t home = placeOf(m_places[next]);
            if ((next - home) % kSize < (next - at) % kSize)
                continue; // it is nearer to its home than the gap
            m_places[at] = m_places[next];
            at = next;
        }
        m_places[at] = nullptr;
    }

    [[nodiscard]] std::size_t count() const { return m_count; }

private:
    class Lock
    {
    public:
        explicit Lock(std::atomic_flag& busy) :
            m_busy(busy)
        {
            while (m_busy.test_and_set(std::memory_order_acquire))
                continue;
        }
        ~Lock() { m_busy.clear(std::memory_order_release); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        std::atomic_flag& m_busy;
    };

    static constexpr std::size_t kSize = std::size_t{1} << 20;

    static std::size_t placeOf(const void* block)
    {
        const auto value = reinterpret_cast<std::uintptr_t>(block) >> 4;
        return (value * 0x9E3779B97F4A7C15u >> 20) % kSize;
    }

    std::array<const void*, kSize> m_places{};
    std::atomic<std::size_t> m_count{0};
    std::atomic_flag m_busy = ATOMIC_FLAG_INIT;
};

constinit Blocks g_blocks;

void trace()
{
    const int descriptor = g_trace;
    if (descriptor < 0)
        return;
    std::array<void*, 40> frames{};
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    backtrace_symbols_fd(frames.data(), count, descriptor);
}

} // namespace

void arm(Kind kind, std::uint64_t nth, unsigned callers)
{
    g_callers = callers;
    g_nth = nth;
    g_calls = 0;
    g_hasFailed = false;
    g_kind = static_cast<int>(kind);
}

Outcome disarm()
{
    g_kind = -1;
    return {g_calls, g_hasFailed};
}

bool fails(Kind kind)
{
    if ((t_caller & g_callers.load(std::memory_order_relaxed)) == 0 ||
        g_kind.load(std::memory_order_relaxed) != static_cast<int>(kind))
    {
        return false;
    }
    if (g_calls.fetch_add(1) + 1 != g_nth)
        return false;
    g_hasFailed = true;
    {
        const Outside outside;
        trace();
    }
    errno = kErrors.at(static_cast<std::size_t>(kind));
    return true;
}

void traceTo(int descriptor)
{
    std::array<void*, 1> frame{};
    static_cast<void>(backtrace(frame.data(), 1)); // loads what it needs
    g_trace = descriptor;
}

void forgetThreads()
{
    g_threads = 0;
}

unsigned nextThread()
{
    return g_threads.fetch_add(1) == 0 ? kFirstThread : kLaterThreads;
}

void limitSleep(long milliseconds)
{
    g_sleepLimitMs = milliseconds;
}

long sleepLimitMs()
{
    return g_sleepLimitMs;
}

std::size_t liveBlocks()
{
    return g_blocks.count();
}

unsigned caller()
{
    return t_caller;
}

void setCaller(unsigned caller)
{
    t_caller = caller;
}

void noteBlock(const void* block)
{
    if (block && t_caller != 0)
        g_blocks.add(block);
}

void noteFreed(const void* block)
{
    if (block)
        g_blocks.remove(block);
}

void* nextOf(const char* name)
{
    void* const next = dlsym(RTLD_NEXT, name);
    if (!next)
        std::abort();
    return next;
}

Inside::Inside() :
    m_before(t_caller)
{
    t_caller = kHostCalls;
}

Inside::~Inside()
{
    t_caller = m_before;
}

Outside::Outside() :
    m_before(t_caller)
{
    t_caller = 0;
}

Outside::~Outside()
{
    t_caller = m_before;
}

} // namespace tavo::failing_calls

// What a test starts is not the library.
__attribute__((constructor)) static void letGoOfChildren()
{
    unsetenv("LD_PRELOAD");
}
