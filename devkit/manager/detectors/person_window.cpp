#include "detectors/person_window.h"

namespace tavo::devkit
{
namespace
{

// The detector learned from pictures with a margin around the person.
constexpr float kPersonWidth = 0.64f;
constexpr float kPersonHeight = 0.8f;

} // namespace

Box shrinkToPerson(const Box& window)
{
    const float width = window.width * kPersonWidth;
    const float height = window.height * kPersonHeight;
    return {
        window.x + (window.width - width) / 2, window.y + (window.height - height) / 2, width,
        height};
}

} // namespace tavo::devkit
