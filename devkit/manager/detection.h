#pragma once

#include <opencv2/core.hpp>

namespace tavo::devkit
{

// One object that a detector found.
struct Detection
{
    int classIndex = 0; // into kCocoClasses
    float score = 0; // 0 to 1
    cv::Rect2f box; // in pixels of the image, inside it
};

} // namespace tavo::devkit
