#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <new>
#include <pthread.h>
#include <spawn.h>

#include "counting.h"

using namespace tavo::failing_calls;

namespace
{

struct ThreadStart
{
    void* (*run)(void*);
    void* argument;
    unsigned caller;
};

void* runThread(void* argument)
{
    const ThreadStart start = *static_cast<ThreadStart*>(argument);
    delete static_cast<ThreadStart*>(argument);
    setCaller(start.caller);
    return start.run(start.argument);
}

} // namespace

extern "C" int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument)
{
    if (caller() == 0)
        return TAVO_NEXT(pthread_create)(thread, attributes, run, argument);
    if (fails(Kind::thread))
        return EAGAIN;
    const Outside outside;
    auto* const start = new (std::nothrow) ThreadStart{run, argument, nextThread()};
    if (!start)
        return EAGAIN;
    const int error = TAVO_NEXT(pthread_create)(thread, attributes, &runThread, start);
    if (error != 0)
        delete start;
    return error;
}

#define TAVO_SPAWN(name)                                                                           \
    extern "C" int name(                                                                           \
        pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,               \
        const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment)     \
    {                                                                                              \
        return fails(Kind::spawn)                                                                  \
            ? EAGAIN                                                                               \
            : TAVO_NEXT(name)(process, path, actions, attributes, arguments, environment);         \
    }
TAVO_SPAWN(posix_spawn)
TAVO_SPAWN(posix_spawnp)

extern "C" int nanosleep(const timespec* wanted, timespec* left)
{
    const long limit = caller() != 0 ? sleepLimitMs() : 0;
    if (limit == 0)
        return TAVO_NEXT(nanosleep)(wanted, left);
    constexpr long kNsPerMs = 1'000'000;
    const long ms =
        std::min(limit, static_cast<long>(wanted->tv_sec) * 1000 + wanted->tv_nsec / kNsPerMs);
    const timespec shorter{ms / 1000, ms % 1000 * kNsPerMs};
    return TAVO_NEXT(nanosleep)(&shorter, left);
}
