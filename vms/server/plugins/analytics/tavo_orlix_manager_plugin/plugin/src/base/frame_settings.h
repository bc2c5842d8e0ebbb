#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace tavo::vms_server_plugins::analytics::orlix
{

// What of a camera's settings rides on each of its frames, and works on the next one. Coordinates
// are fractions of the image, thresholds seconds.
struct FrameSettings
{
    std::unordered_map<std::string, std::string> externalProcessorSettings; // by whole key
    bool dumpingEnabled = false;
    std::string dumpingObjectType;
    std::int64_t dumpingTimeThreshold = 0;
    bool loiteringEnabled = false;
    std::int64_t loiterTimeThreshold = 0;
    std::string loiterObjectClass;
    std::vector<float> line; // x1, y1, x2, y2, or empty
    std::string maskType; // "inclusive" or "exclusive"
    std::vector<std::vector<float>> masks; // each x, y, x, y, ...
};

} // namespace tavo::vms_server_plugins::analytics::orlix
