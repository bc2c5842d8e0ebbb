#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Four numbers that are reckoned with at once. The compilers in use turn this into the vector
// instructions of whatever processor they build for, and into plain ones where it has none.
using Lanes [[gnu::vector_size(4 * sizeof(float))]] = float;
using LaneBits [[gnu::vector_size(4 * sizeof(std::int32_t))]] = std::int32_t;

inline Lanes allLanes(float value)
{
    return Lanes{value, value, value, value};
}

inline Lanes least(Lanes a, Lanes b)
{
    return a < b ? a : b;
}

inline Lanes greatest(Lanes a, Lanes b)
{
    return a > b ? a : b;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
