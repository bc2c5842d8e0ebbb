#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "metadata/metadata.h"

namespace tavo::devkit
{

// What to tell above the pictures of a video: the counts, and the last event of note for a while.
class EventCaptions
{
public:
    // For the next picture, at `mediaUs` of its video, with the events of its result.
    [[nodiscard]] std::vector<std::string> next(
        const std::vector<DetectedEvent>& events, int64_t mediaUs);

private:
    std::string m_lastEvent;
    int64_t m_lastEventUs = 0;
};

} // namespace tavo::devkit
