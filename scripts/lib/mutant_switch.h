// Included by what scripts/mutate.py has put faults into, and by nothing else.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>

// Whether this process has the fault; where notes are asked for, that it came by. Allocates
// nothing, changes no errno, may be called from wherever the product's code may run.
inline bool mutant(int number) noexcept
{
    static const char* const active = std::getenv("TAVO_MUTANT");
    static const char* const notes = std::getenv("TAVO_MUTANT_NOTES");
    static bool noted[20000];
    if (notes && !noted[number])
    {
        noted[number] = true;
        const int kept = errno;
        char name[512];
        std::snprintf(name, sizeof(name), "%s/%d", notes, number);
        mkdir(name, 0777); // which takes no descriptor, where none is left
        errno = kept;
    }
    return active && std::atoi(active) == number;
}
