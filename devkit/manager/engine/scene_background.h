#pragma once

#include <vector>

#include "engine/grey_plane.h"

namespace tavo::devkit
{

// What a fixed camera's picture looks like when nothing happens, and where a frame differs from it.
// Works on a small grey copy, which costs a fraction of a millisecond. One thread.
class SceneBackground
{
public:
    // How far each frame pulls the background towards itself, 0 to 1.
    struct Learning
    {
        float unchanged; // where the frame looks like it
        float changed; // where it does not: 0 never lets what has come become background
    };

    explicit SceneBackground(Learning learning) :
        m_learning(learning)
    {}

    // The boxes around the parts that differ, in pixels of the image; specks are left out. The
    // first frame, and one of another size, becomes the background.
    [[nodiscard]] std::vector<Box> differences(const RgbImage& rgb);

    // The next frame becomes the background.
    void forget() { m_size = {}; }

private:
    // Marks what differs, and lets the background follow the frame. False if nothing differs.
    [[nodiscard]] bool compare(const Plane& grey, Plane& changed);

    const Learning m_learning;
    Size m_size; // of the background; none when there is no background yet
    std::vector<float> m_background;
};

} // namespace tavo::devkit
