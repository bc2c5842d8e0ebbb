#pragma once

#include <vector>

#include <opencv2/core.hpp>

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
        double unchanged; // where the frame looks like it
        double changed; // where it does not: 0 never lets what has come become background
    };

    explicit SceneBackground(Learning learning) :
        m_learning(learning)
    {}

    // The boxes around the parts that differ, in pixels of the image; specks are left out. The
    // first frame, and one of another size, becomes the background.
    [[nodiscard]] std::vector<cv::Rect2f> differences(const cv::Mat& rgb);

    // The next frame becomes the background.
    void forget() { m_background.release(); }

private:
    const Learning m_learning;
    cv::Mat m_background; // floats
};

} // namespace tavo::devkit
