#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/shapes.h"

namespace tavo::devkit
{

// One object found in one frame.
struct SeenObject
{
    std::string className;
    float score = 0; // 0 to 1
    Box box; // pixels of the image
};

using ObjectId = std::array<char, 16>; // a random UUID

// An object over its frames. Times are those of the frames.
struct Track
{
    ObjectId id{};
    std::string className;
    Box box;
    std::uint64_t firstSeenUs = 0;
    std::uint64_t lastSeenUs = 0;

    // What the watches remember of it.
    std::optional<Point> clearOfLine; // where it last stood clear of the line
    bool hasLoitered = false;
    Box restBox; // where it came to rest
    std::uint64_t restingSinceUs = 0;
    bool isReportedLeft = false;
};

// Follows the objects of one input from frame to frame, by the overlap of their boxes, and where
// frames are too far apart for that, by nearness. An object out of sight keeps its track for three
// seconds. One thread.
class ObjectTracker
{
public:
    // Gives the track of each object, in their order; valid until the next call. A frame older than
    // the last one starts anew: the camera's clock, or its video, began again.
    std::vector<Track*> update(const std::vector<SeenObject>& objects, std::uint64_t timestampUs);

private:
    std::vector<std::unique_ptr<Track>> m_tracks;
    std::uint64_t m_lastUs = 0;
};

} // namespace tavo::devkit
