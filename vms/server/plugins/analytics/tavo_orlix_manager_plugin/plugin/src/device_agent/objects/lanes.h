#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Four numbers that are reckoned with at once. The compilers in use turn this into the vector
// instructions of whatever processor they build for, and into plain ones where it has none.
inline constexpr std::size_t kLanes = 4;
using Lanes [[gnu::vector_size(kLanes * sizeof(float))]] = float;
using LaneBits [[gnu::vector_size(kLanes * sizeof(std::int32_t))]] = std::int32_t;

inline constexpr LaneBits kLaneNumbers = {0, 1, 2, 3};

inline Lanes allLanes(float value)
{
    return Lanes{value, value, value, value};
}

inline LaneBits allLanes(std::int32_t value)
{
    return LaneBits{value, value, value, value};
}

inline Lanes loadLanes(const float* from)
{
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

inline Lanes least(Lanes a, Lanes b)
{
    return a < b ? a : b;
}

inline Lanes greatest(Lanes a, Lanes b)
{
    return a > b ? a : b;
}

inline bool anyBit(LaneBits bits)
{
    using Halves [[gnu::vector_size(sizeof(LaneBits))]] = std::int64_t;
    const auto halves = std::bit_cast<Halves>(bits);
    return (halves[0] | halves[1]) != 0;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
