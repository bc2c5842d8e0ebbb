#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "interception.h"

using namespace tavo::failing_calls;

namespace
{

// Of glibc's streams.
constexpr int kErrorFlag = 0x20;
constexpr int kNotForWritingFlag = 0x8;

void putInError(std::FILE* stream)
{
    if (stream)
        stream->_flags |= kErrorFlag;
}

mode_t modeOf(int flags, std::va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

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
    t_caller = start.caller;
    return start.run(start.argument);
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): a list of arguments has its own
#define TAVO_CALL(kind, failure, type, name, parameters, arguments)                                \
    extern "C" type name parameters                                                                \
    {                                                                                              \
        return fails(Kind::kind) ? failure : TAVO_NEXT(name) arguments;                            \
    }

// With a mode behind the flags, if there is one.
#define TAVO_OPEN(name, parameters, arguments)                                                     \
    extern "C" int name parameters                                                                 \
    {                                                                                              \
        std::va_list more;                                                                         \
        va_start(more, flags);                                                                     \
        const mode_t mode = modeOf(flags, more);                                                   \
        va_end(more);                                                                              \
        return fails(Kind::open) ? -1 : TAVO_NEXT(name) arguments;                                 \
    }
TAVO_OPEN(open, (const char* path, int flags, ...), (path, flags, mode))
TAVO_OPEN(open64, (const char* path, int flags, ...), (path, flags, mode))
TAVO_OPEN(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
TAVO_OPEN(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))

// Copies of a descriptor are opened; all else of it cannot fail for want of anything.
#define TAVO_FCNTL(name)                                                                           \
    extern "C" int name(int descriptor, int command, ...)                                          \
    {                                                                                              \
        std::va_list arguments;                                                                    \
        va_start(arguments, command);                                                              \
        void* const argument = va_arg(arguments, void*);                                           \
        va_end(arguments);                                                                         \
        const bool isCopy = command == F_DUPFD || command == F_DUPFD_CLOEXEC;                      \
        return isCopy && fails(Kind::open) ? -1 : TAVO_NEXT(name)(descriptor, command, argument);  \
    }
TAVO_FCNTL(fcntl)
TAVO_FCNTL(fcntl64)

TAVO_CALL(open, nullptr, std::FILE*, fopen, (const char* path, const char* mode), (path, mode))
TAVO_CALL(open, nullptr, std::FILE*, fopen64, (const char* path, const char* mode), (path, mode))
TAVO_CALL(open, nullptr, std::FILE*, fdopen, (int file, const char* mode), (file, mode))
TAVO_CALL(open, nullptr, DIR*, opendir, (const char* path), (path))
TAVO_CALL(open, -1, int, mkostemp, (char* path, int flags), (path, flags))
TAVO_CALL(open, -1, int, mkostemp64, (char* path, int flags), (path, flags))
TAVO_CALL(open, -1, int, shm_open, (const char* path, int flags, mode_t mode), (path, flags, mode))
TAVO_CALL(open, -1, int, memfd_create, (const char* path, unsigned flags), (path, flags))
TAVO_CALL(open, -1, int, pipe2, (int* ends, int flags), (ends, flags))

TAVO_CALL(read, -1, ssize_t, read, (int file, void* to, std::size_t size), (file, to, size))
TAVO_CALL(
    write, -1, ssize_t, write, (int file, const void* text, std::size_t size), (file, text, size))
TAVO_CALL(
    write, -1, ssize_t, writev, (int file, const iovec* parts, int count), (file, parts, count))

// Of streams, which are then as after a call of the system that failed.
#define TAVO_STREAM_CALL(kind, failure, type, name, parameters, arguments)                         \
    extern "C" type name parameters                                                                \
    {                                                                                              \
        if (!fails(Kind::kind))                                                                    \
            return TAVO_NEXT(name) arguments;                                                      \
        putInError(stream);                                                                        \
        return failure;                                                                            \
    }
// NOLINTEND(bugprone-macro-parentheses)
TAVO_STREAM_CALL(
    read, 0, std::size_t, fread, (void* to, std::size_t size, std::size_t count, std::FILE* stream),
    (to, size, count, stream))
TAVO_STREAM_CALL(read, EOF, int, fgetc, (std::FILE * stream), (stream))
TAVO_STREAM_CALL(
    write, 0, std::size_t, fwrite,
    (const void* text, std::size_t size, std::size_t count, std::FILE* stream),
    (text, size, count, stream))
TAVO_STREAM_CALL(
    write, -1, int, vfprintf, (std::FILE * stream, const char* format, std::va_list arguments),
    (stream, format, arguments))
TAVO_STREAM_CALL(write, EOF, int, fflush, (std::FILE * stream), (stream))

extern "C" int fprintf(std::FILE* stream, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int count = vfprintf(stream, format, arguments);
    va_end(arguments);
    return count;
}

// What was still in the stream's buffer is written at its end.
extern "C" int fclose(std::FILE* stream)
{
    const bool isToFail = (stream->_flags & kNotForWritingFlag) == 0 && fails(Kind::write);
    const int result = TAVO_NEXT(fclose)(stream);
    return isToFail ? EOF : result;
}

TAVO_CALL(rename, -1, int, rename, (const char* from, const char* to), (from, to))
TAVO_CALL(rename, -1, int, mkdir, (const char* path, mode_t mode), (path, mode))

#define TAVO_MMAP(name, offset_type)                                                               \
    TAVO_CALL(                                                                                     \
        map, MAP_FAILED, void*, name,                                                              \
        (void* at, std::size_t size, int protection, int flags, int file, offset_type offset),     \
        (at, size, protection, flags, file, offset))
TAVO_MMAP(mmap, off_t)
TAVO_MMAP(mmap64, off64_t)

// These give the error, and leave errno alone.
#define TAVO_ALLOCATE(name, offset_type)                                                           \
    extern "C" int name(int file, offset_type offset, offset_type size)                            \
    {                                                                                              \
        return fails(Kind::allocateFile) ? ENOSPC : TAVO_NEXT(name)(file, offset, size);           \
    }
TAVO_ALLOCATE(posix_fallocate, off_t)
TAVO_ALLOCATE(posix_fallocate64, off64_t)

TAVO_CALL(
    socket, -1, int, socket, (int domain, int type, int protocol) noexcept,
    (domain, type, protocol))
TAVO_CALL(
    socket, -1, int, socketpair, (int domain, int type, int protocol, int* ends) noexcept,
    (domain, type, protocol, ends))
TAVO_CALL(
    socket, -1, int, bind, (int socket, const sockaddr* address, socklen_t size) noexcept,
    (socket, address, size))
TAVO_CALL(socket, -1, int, listen, (int socket, int backlog) noexcept, (socket, backlog))
TAVO_CALL(
    connect, -1, int, connect, (int socket, const sockaddr* address, socklen_t size),
    (socket, address, size))
TAVO_CALL(
    send, -1, ssize_t, send, (int socket, const void* bytes, size_t size, int flags),
    (socket, bytes, size, flags))
TAVO_CALL(
    send, -1, ssize_t, sendto,
    (int socket, const void* bytes, size_t size, int flags, const sockaddr* to, socklen_t toSize),
    (socket, bytes, size, flags, to, toSize))
TAVO_CALL(
    send, -1, ssize_t, sendmsg, (int socket, const msghdr* message, int flags),
    (socket, message, flags))
TAVO_CALL(
    receive, -1, ssize_t, recv, (int socket, void* bytes, size_t size, int flags),
    (socket, bytes, size, flags))
TAVO_CALL(
    receive, -1, ssize_t, recvfrom,
    (int socket, void* bytes, size_t size, int flags, sockaddr* from, socklen_t* fromSize),
    (socket, bytes, size, flags, from, fromSize))
TAVO_CALL(
    receive, -1, ssize_t, recvmsg, (int socket, msghdr* message, int flags),
    (socket, message, flags))
TAVO_CALL(
    accept, -1, int, accept, (int socket, sockaddr* address, socklen_t* size),
    (socket, address, size))
TAVO_CALL(
    accept, -1, int, accept4, (int socket, sockaddr* address, socklen_t* size, int flags),
    (socket, address, size, flags))

extern "C" int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument)
{
    if (t_caller == 0)
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
    TAVO_CALL(                                                                                     \
        spawn, EAGAIN, int, name,                                                                  \
        (pid_t * process, const char* path, const posix_spawn_file_actions_t* actions,             \
         const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment),   \
        (process, path, actions, attributes, arguments, environment))
TAVO_SPAWN(posix_spawn)
TAVO_SPAWN(posix_spawnp)

extern "C" int nanosleep(const timespec* wanted, timespec* left)
{
    const long limit = t_caller != 0 ? sleepLimitMs() : 0;
    if (limit == 0)
        return TAVO_NEXT(nanosleep)(wanted, left);
    constexpr long kNsPerMs = 1'000'000;
    const long ms =
        std::min(limit, static_cast<long>(wanted->tv_sec) * 1000 + wanted->tv_nsec / kNsPerMs);
    const timespec shorter{ms / 1000, ms % 1000 * kNsPerMs};
    return TAVO_NEXT(nanosleep)(&shorter, left);
}
