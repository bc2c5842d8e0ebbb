#include "utils/lock_order.h"

#ifndef NDEBUG

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace tavo::vms_server_plugins::analytics::orlix::lock_order
{

namespace
{

constexpr std::array<const char*, 8> kNames{"presence", "request",  "turn", "registry",
                                            "settings", "pipeline", "leaf", "log"};

// How many locks of each level this thread holds.
thread_local std::array<int, kNames.size()> held{};

std::size_t indexOf(LockLevel level)
{
    return static_cast<std::size_t>(level);
}

} // namespace

void taking(LockLevel level)
{
    for (std::size_t index = indexOf(level); index < held.size(); ++index)
    {
        if (held[index] == 0)
            continue;
        std::fprintf(
            stderr, "Locks taken against their order: %s while %s is held\n",
            kNames[indexOf(level)], kNames[index]);
        std::fflush(stderr); // which a system may keep in a buffer
        std::abort();
    }
    ++held[indexOf(level)];
}

void released(LockLevel level)
{
    --held[indexOf(level)];
}

} // namespace tavo::vms_server_plugins::analytics::orlix::lock_order

#endif
