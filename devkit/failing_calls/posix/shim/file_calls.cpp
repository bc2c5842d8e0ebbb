#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "counting.h"

using namespace tavo::failing_calls;

namespace
{

// As a stream has it after a call of the system that failed.
void putInError(std::FILE* stream)
{
    stream->_flags |= 0x20;
}

bool isForWriting(const std::FILE* stream)
{
    return (stream->_flags & 0x8) == 0;
}

mode_t modeOf(int flags, std::va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

#define TAVO_OPEN(name)                                                                            \
    extern "C" int name(const char* path, int flags, ...)                                          \
    {                                                                                              \
        std::va_list arguments;                                                                    \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return fails(Kind::open) ? -1 : TAVO_NEXT(name)(path, flags, mode);                        \
    }
TAVO_OPEN(open)
TAVO_OPEN(open64)

#define TAVO_OPENAT(name)                                                                          \
    extern "C" int name(int folder, const char* path, int flags, ...)                              \
    {                                                                                              \
        std::va_list arguments;                                                                    \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return fails(Kind::open) ? -1 : TAVO_NEXT(name)(folder, path, flags, mode);                \
    }
TAVO_OPENAT(openat)
TAVO_OPENAT(openat64)

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

// NOLINTBEGIN(bugprone-macro-parentheses): a list of arguments has its own
#define TAVO_CALL(kind, failure, type, name, parameters, arguments)                                \
    extern "C" type name parameters                                                                \
    {                                                                                              \
        return fails(Kind::kind) ? failure : TAVO_NEXT(name) arguments;                            \
    }
// NOLINTEND(bugprone-macro-parentheses)

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

extern "C" std::size_t fread(void* to, std::size_t size, std::size_t count, std::FILE* stream)
{
    if (!fails(Kind::read))
        return TAVO_NEXT(fread)(to, size, count, stream);
    putInError(stream);
    return 0;
}

extern "C" int fgetc(std::FILE* stream)
{
    if (!fails(Kind::read))
        return TAVO_NEXT(fgetc)(stream);
    putInError(stream);
    return EOF;
}

extern "C" std::size_t fwrite(
    const void* text, std::size_t size, std::size_t count, std::FILE* stream)
{
    if (!fails(Kind::write))
        return TAVO_NEXT(fwrite)(text, size, count, stream);
    putInError(stream);
    return 0;
}

extern "C" int vfprintf(std::FILE* stream, const char* format, std::va_list arguments)
{
    if (!fails(Kind::write))
        return TAVO_NEXT(vfprintf)(stream, format, arguments);
    putInError(stream);
    return -1;
}

extern "C" int fprintf(std::FILE* stream, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int count = vfprintf(stream, format, arguments);
    va_end(arguments);
    return count;
}

extern "C" int fflush(std::FILE* stream)
{
    if (!fails(Kind::write))
        return TAVO_NEXT(fflush)(stream);
    if (stream)
        putInError(stream);
    return EOF;
}

// What was still in the stream's buffer is written at its end.
extern "C" int fclose(std::FILE* stream)
{
    const bool isToFail = isForWriting(stream) && fails(Kind::write);
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
