#include "engine/scene_background.h"

#include <cmath>

#include "engine/mask_parts.h"

namespace tavo::devkit
{
namespace
{

constexpr int kWorkingWidth = 320; // pixels, at most
constexpr float kMinDifference = 25; // of 255 grey levels
constexpr float kMinPart = 0.0015f; // of the picture's area
constexpr int kJoiningReach = 3; // parts nearer to each other than twice this are one

// Kept from frame to frame.
struct Workspace
{
    Plane grey;
    Plane changed;
    Plane spare;
};

Size workingSize(Size size)
{
    const double scale = std::min(1.0, double(kWorkingWidth) / size.width);
    return {
        std::max(1, int(std::lround(size.width * scale))),
        std::max(1, int(std::lround(size.height * scale)))};
}

} // namespace

std::vector<Box> SceneBackground::differences(const RgbImage& rgb)
{
    thread_local Workspace workspace; // shared by all cameras
    auto& [grey, changed, spare] = workspace;
    const Size size = workingSize(rgb.size);
    greyCopy(rgb, size, grey);
    smooth(grey, size, spare); // single pixels are noise
    if (m_size != size)
    {
        m_size = size;
        m_background.assign(grey.begin(), grey.end());
        return {};
    }
    if (!compare(grey, changed))
        return {};
    spread(changed, size, kJoiningReach, spare);

    const float scaleX = float(rgb.size.width) / float(size.width);
    const float scaleY = float(rgb.size.height) / float(size.height);
    std::vector<Box> found;
    for (const MaskPart& part : partsOf(changed, size))
    {
        if (float(part.area) < kMinPart * float(areaOf(size)))
            continue;
        found.push_back(
            {float(part.left) * scaleX, float(part.top) * scaleY,
             float(part.right - part.left + 1) * scaleX,
             float(part.bottom - part.top + 1) * scaleY});
    }
    return found;
}

bool SceneBackground::compare(const Plane& grey, Plane& changed)
{
    const std::size_t count = grey.size();
    changed.resize(count);
    const std::uint8_t* const now = grey.data();
    std::uint8_t* const marks = changed.data();
    float* const background = m_background.data();
    const Learning learning = m_learning;
    std::uint8_t any = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const float difference = float(now[i]) - background[i];
        const bool isChanged = std::abs(difference) > kMinDifference;
        const std::uint8_t mark = isChanged ? 255 : 0;
        marks[i] = mark;
        any |= mark;
        background[i] += difference * (isChanged ? learning.changed : learning.unchanged);
    }
    return any != 0;
}

} // namespace tavo::devkit
