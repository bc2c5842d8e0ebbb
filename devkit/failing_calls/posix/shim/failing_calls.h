#pragma once

#include <cstddef>
#include <cstdint>

// A library for tests that stands before the system's: it makes one call of a kind fail, the n-th
// of those made in the library under test or on its behalf. It has to be loaded before all others,
// by LD_PRELOAD; the programs that a test starts go without.

namespace tavo::failing_calls
{

enum class Kind
{
    open, // files, pipes and copies of descriptors: EMFILE
    read, // of files and pipes: EIO
    write, // likewise: ENOSPC
    rename, // and making folders: EACCES
    map, // ENOMEM
    allocateFile, // ENOSPC
    socket, // making, binding and listening: EMFILE
    connect, // ECONNREFUSED
    send, // EPIPE
    receive, // ECONNRESET
    accept, // EMFILE
    spawn, // EAGAIN
    thread, // EAGAIN
    memory, // malloc, and operator new with it: ENOMEM
};

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

// From now on calls count, and the n-th fails, n from 1.
void arm(Kind kind, std::uint64_t nth, unsigned callers);
Outcome disarm();

// Where the call came from that failed goes to this descriptor, a line a frame.
void traceTo(int descriptor);

// The next thread that the library starts is its first.
void forgetThreads();

// The library sleeps no longer than that where it sleeps for a time.
void limitSleep(long milliseconds);

// Blocks of memory that were allocated in the library and have not been freed by anybody.
[[nodiscard]] std::size_t liveBlocks();

// What this thread calls is made on behalf of the library, as long as this lives.
class Inside
{
public:
    Inside();
    ~Inside();
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

private:
    const unsigned m_before;
};

// The library has called its host: what the host does is its own.
class Outside
{
public:
    Outside();
    ~Outside();
    Outside(const Outside&) = delete;
    Outside& operator=(const Outside&) = delete;

private:
    const unsigned m_before;
};

} // namespace tavo::failing_calls
