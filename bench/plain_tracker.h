#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "device_agent/objects/tracked_object.h"

namespace tavo::bench
{

using vms_server_plugins::analytics::orlix::TrackedObject;

// The assignment of detections to tracks in plain words: score all pairs, sort all, walk them.
// What the plugin's own way is compared with, for its outcome and for its time.
std::vector<std::uint32_t> matchByFullSort(
    std::span<const TrackedObject> detections, std::span<const TrackedObject> tracks);

class PlainTracker
{
public:
    void trackClass(std::vector<TrackedObject>& detections, const std::string& className);

private:
    std::unordered_map<std::string, std::vector<TrackedObject>> m_tracks;
};

} // namespace tavo::bench
