#include <cerrno>
#include <cstdlib>

#include "interception.h"

using namespace tavo::failing_calls;

// A block that grows in place keeps what was noted of it.

namespace
{

template <class Call>
void* allocated(Call call)
{
    if (fails(Kind::memory))
        return nullptr;
    void* const block = call();
    noteBlock(block);
    return block;
}

} // namespace

extern "C" void* malloc(std::size_t size)
{
    return allocated([&] { return TAVO_NEXT(malloc)(size); });
}

extern "C" void* calloc(std::size_t count, std::size_t size)
{
    return allocated([&] { return TAVO_NEXT(calloc)(count, size); });
}

extern "C" void* realloc(void* block, std::size_t size)
{
    if (fails(Kind::memory))
        return nullptr;
    noteFreed(block); // before it can be somebody else's
    void* const moved = TAVO_NEXT(realloc)(block, size);
    noteBlock(moved ? moved : size != 0 ? block : nullptr);
    return moved;
}

extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return allocated([&] { return TAVO_NEXT(aligned_alloc)(alignment, size); });
}

extern "C" int posix_memalign(void** block, std::size_t alignment, std::size_t size)
{
    if (fails(Kind::memory))
        return ENOMEM;
    const int error = TAVO_NEXT(posix_memalign)(block, alignment, size);
    if (error == 0)
        noteBlock(*block);
    return error;
}

extern "C" void free(void* block)
{
    noteFreed(block);
    TAVO_NEXT(free)(block);
}
