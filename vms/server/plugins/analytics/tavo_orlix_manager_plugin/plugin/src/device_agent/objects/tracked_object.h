#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <tavo/sdk/uuid.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// Corners, in the coordinate space of the result. Nothing says that x1 <= x2.
struct ResultBox
{
    float x1 = 0;
    float y1 = 0;
    float x2 = 0;
    float y2 = 0;
};
static_assert(sizeof(ResultBox) == 16, "a box as results carry it");

// One detection of a result, or one object that the tracker follows.
struct TrackedObject
{
    ResultBox box;
    std::uint64_t timestampUs = 0; // of the result
    sdk::Uuid trackId;
    std::string className; // as the result names it
    std::vector<std::pair<std::string, std::string>> attributes; // name and value, in order
};

// By class name.
using ObjectsByClass = std::unordered_map<std::string, std::vector<TrackedObject>>;

} // namespace tavo::vms_server_plugins::analytics::orlix
