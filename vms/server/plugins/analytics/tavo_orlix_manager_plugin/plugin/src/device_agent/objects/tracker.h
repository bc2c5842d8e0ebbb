#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "device_agent/objects/overlap_matcher.h"
#include "device_agent/objects/tracked_object.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// Follows the objects of classes that come without ids, class by class, from result to result.
// Lives as long as its device, so ids go on across pipelines and runs of the application. Not
// synchronised.
class Tracker
{
public:
    // Gives every detection of a result the id of the track that it overlaps best, or a new one,
    // and updates the class's tracks. A track keeps the timestamp of its first sighting, so that
    // an old one scores less and less. `budget` is for all classes of the result: where it is used
    // up, the remaining detections get new ids and are not followed. Throws std::system_error when
    // no random id can be had.
    void trackClass(
        std::vector<TrackedObject>& detections, const std::string& className,
        MatchingBudget& budget);

private:
    // Gives how many of the detections were looked at; those with a track have its id.
    [[nodiscard]] std::size_t follow(
        std::vector<TrackedObject>& detections, std::vector<TrackedObject>& tracks,
        MatchingBudget& budget);
    void trim(std::vector<TrackedObject>& tracks);

    std::unordered_map<std::string, std::vector<TrackedObject>> m_trackTable; // by class name
    OverlapMatcher m_matcher;
    std::vector<char> m_isMatched; // by the track's index before the trim
};

} // namespace tavo::vms_server_plugins::analytics::orlix
