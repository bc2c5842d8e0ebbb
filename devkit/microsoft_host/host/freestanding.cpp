#include "freestanding.h"

#include <stddef.h>

// Of the C library that the test program is linked with.
extern "C" void* malloc(size_t size);
extern "C" void free(void* memory);

void* operator new(size_t size)
{
    return malloc(size);
}

void operator delete(void* memory) noexcept
{
    free(memory);
}

void operator delete(void* memory, size_t) noexcept
{
    free(memory);
}

int host::living = 0;

int livingHostObjects()
{
    return host::living;
}
