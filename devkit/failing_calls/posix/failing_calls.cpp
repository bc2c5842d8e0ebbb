#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <execinfo.h>
#include <mutex>
#include <unordered_set>

#include "interception.h"

namespace tavo::failing_calls
{

constinit thread_local unsigned t_caller = 0;

namespace
{

std::atomic<int> g_kind{-1}; // -1: none
std::atomic<unsigned> g_callers{0};
std::atomic<std::uint64_t> g_nth{0};
std::atomic<std::uint64_t> g_calls{0};
std::atomic<bool> g_hasFailed{false};
std::atomic<int> g_trace{-1};
std::atomic<unsigned> g_threads{0};
std::atomic<long> g_sleepLimitMs{0};

// In the order of Kind.
constexpr std::array kErrors{EMFILE,       EIO,   ENOSPC,     EACCES, ENOMEM, ENOSPC, EMFILE,
                             ECONNREFUSED, EPIPE, ECONNRESET, EMFILE, EAGAIN, EAGAIN, ENOMEM};

// Never destroyed: blocks are freed to the very end. Its own memory is not noted, since whoever
// changes it is busy.
constinit std::mutex g_blocksMutex;
constinit std::unordered_set<const void*>* g_blocks = nullptr;
constinit std::atomic<std::size_t> g_blockCount{0};
constinit thread_local bool t_isBusy = false;

template <class Change>
void changeBlocks(Change change)
{
    t_isBusy = true;
    {
        const Outside outside;
        const std::lock_guard lock(g_blocksMutex);
        if (!g_blocks)
            g_blocks = new std::unordered_set<const void*>;
        change(*g_blocks);
        g_blockCount = g_blocks->size();
    }
    t_isBusy = false;
}

} // namespace

void arm(Kind kind, std::uint64_t nth, unsigned callers, int trace)
{
    std::array<void*, 1> frame{};
    static_cast<void>(backtrace(frame.data(), 1)); // loads what it needs
    g_trace = trace;
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
        g_kind.load(std::memory_order_relaxed) != static_cast<int>(kind) ||
        g_calls.fetch_add(1) + 1 != g_nth)
    {
        return false;
    }
    g_hasFailed = true;
    {
        const Outside outside;
        std::array<void*, 40> frames{};
        const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
        backtrace_symbols_fd(frames.data(), count, g_trace);
    }
    errno = kErrors.at(static_cast<std::size_t>(kind));
    return true;
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
    return g_blockCount;
}

void noteBlock(const void* block)
{
    if (block && t_caller != 0 && !t_isBusy)
        changeBlocks([block](auto& blocks) { blocks.insert(block); });
}

void noteFreed(const void* block)
{
    if (block && !t_isBusy && g_blockCount != 0)
        changeBlocks([block](auto& blocks) { blocks.erase(block); });
}

void* nextOf(const char* name)
{
    void* const next = dlsym(RTLD_NEXT, name);
    if (!next)
        std::abort();
    return next;
}

} // namespace tavo::failing_calls
