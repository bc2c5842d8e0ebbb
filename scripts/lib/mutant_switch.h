// Included by what scripts/mutate.py has put faults into, and by nothing else.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

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
        const int file = open(name, O_CREAT | O_WRONLY | O_CLOEXEC, 0666);
        if (file >= 0)
            close(file);
        errno = kept;
    }
    return active && std::atoi(active) == number;
}
