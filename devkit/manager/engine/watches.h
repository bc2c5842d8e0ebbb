#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/input_frame.h"
#include "engine/object_tracker.h"
#include "engine/result.h"
#include "engine/scene_background.h"

namespace tavo::devkit
{

// The objects that the masks let through, judged by where they stand.
[[nodiscard]] std::vector<SeenObject> withinMasks(
    std::vector<SeenObject> objects, const InputFrame& frame);

// True with the sighting that brings the object over the line. It counts as over once it stands
// clear of the line, so that one who lingers on it is told once, and each way counts.
[[nodiscard]] bool crossesLine(Track& track, const Polygon& line);

// True once per object, when it has been in view for as long as the watch says.
[[nodiscard]] bool loiters(Track& track, const StayWatch& watch, std::uint64_t timestampUs);

// Finds what was left behind: objects that were not there when the reference was taken, and have
// been at rest for as long as the watch says. The first frame is the reference until another is
// taken. One input, one thread.
class DumpingWatch
{
public:
    // The class for whatever changes the picture, known to a detector or not.
    static constexpr char kAnyObject[] = "object";

    // `seen` is what the detectors found in the frame, whatever its class. Gives the tracks of what
    // lies about now, valid until the next call, and adds to `reports` those that have not been
    // reported before.
    [[nodiscard]] std::vector<const Track*> update(
        const InputFrame& frame, const std::vector<SeenObject>& seen,
        std::vector<const Track*>& reports);

    // What the next frame shows is the reference.
    void takeReference() { m_reference.reset(); }

private:
    std::vector<SeenObject> candidates(
        const InputFrame& frame, const std::vector<SeenObject>& seen);

    SceneBackground m_background{{0.02f, 0}};
    std::optional<std::vector<Box>> m_reference; // boxes of what was there
    ObjectTracker m_tracker;
};

} // namespace tavo::devkit
