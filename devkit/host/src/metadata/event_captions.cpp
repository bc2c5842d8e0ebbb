#include "metadata/event_captions.h"

#include <algorithm>

namespace tavo::devkit
{

namespace
{

constexpr int64_t kShownUs = 1'000'000; // how long an event stays on the pictures

} // namespace

std::vector<std::string> EventCaptions::next(
    const std::vector<DetectedEvent>& events, int64_t mediaUs)
{
    std::vector<std::string> lines;
    for (const DetectedEvent& event : events)
    {
        std::string text = event.caption + ": " + event.description;
        std::replace(text.begin(), text.end(), '\n', ' ');
        if (event.typeId == kFpsEventTypeId || event.typeId == kCountedEventTypeId)
        {
            lines.push_back(std::move(text));
            continue;
        }
        m_lastEvent = std::move(text);
        m_lastEventUs = mediaUs;
    }
    if (!m_lastEvent.empty() && mediaUs - m_lastEventUs < kShownUs)
        lines.push_back(m_lastEvent);
    return lines;
}

} // namespace tavo::devkit
