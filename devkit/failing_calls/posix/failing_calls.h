#pragma once

#include <cstddef>
#include <cstdint>

// Stands before the system's functions for all of this process: makes one call of a kind fail, the
// n-th of those made in the library under test or on its behalf.

namespace tavo::failing_calls
{

enum class Kind
{
    open, // files, pipes and copies of descriptors
    read, // of files and pipes
    write, // likewise
    rename, // and making folders
    map,
    allocateFile,
    socket, // making, binding and listening
    connect,
    send,
    receive,
    accept,
    spawn,
    thread,
    memory, // malloc, and operator new with it
};

// In the order of Kind.
inline constexpr const char* kKindNames[] = {
    "open",    "read", "write", "rename", "mmap",        "fallocate",      "socket",
    "connect", "send", "recv",  "accept", "posix_spawn", "pthread_create", "malloc"};

// Whose calls count.
enum Callers : unsigned
{
    kHostCalls = 1, // made by a thread that is Inside
    kFirstThread = 2, // that the library has started since forgetThreads
    kLaterThreads = 4,
    kAllCallers = 7,
};

struct Outcome
{
    std::uint64_t calls = 0; // that counted
    bool hasFailed = false; // one of them, as it was to
};

// From now on calls count, and the n-th fails, n from 1. Where it came from goes to the descriptor,
// a line a frame.
void arm(Kind kind, std::uint64_t nth, unsigned callers, int trace);
Outcome disarm();

// The next thread that the library starts is its first.
void forgetThreads();

// The library sleeps no longer than that where it sleeps for a time.
void limitSleep(long milliseconds);

// Blocks of memory that were allocated in the library and have not been freed by anybody.
[[nodiscard]] std::size_t liveBlocks();

// Who this thread calls for, of Callers; 0 while it is not in the library.
extern constinit thread_local unsigned t_caller;

template <unsigned caller>
class CallerScope
{
public:
    CallerScope() :
        m_before(t_caller)
    {
        t_caller = caller;
    }
    ~CallerScope() { t_caller = m_before; }
    CallerScope(const CallerScope&) = delete;
    CallerScope& operator=(const CallerScope&) = delete;

private:
    const unsigned m_before;
};

// What this thread calls is made on behalf of the library, as long as this lives.
using Inside = CallerScope<kHostCalls>;

// The library has called its host: what the host does is its own.
using Outside = CallerScope<0>;

} // namespace tavo::failing_calls
