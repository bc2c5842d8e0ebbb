#pragma once

#include <opencv2/core.hpp>
#include <opencv2/objdetect.hpp>

#include <vector>

#include "engine/detection.h"

namespace tavo::devkit
{

// OpenCV's people detector on gradients: worse than NanoDet, but it needs no file at all.
// Finds people of some 100 pixels of height and more, so images are better not made smaller first.
// Errors are cv::Exception. One object serves one thread at a time.
class HogPeople
{
public:
    HogPeople();

    // `bgr`: 3 bytes a pixel, at least 64 x 128 pixels; in a smaller one nobody is found.
    // All are of kPersonClass.
    [[nodiscard]] std::vector<Detection> detect(const cv::Mat& bgr);

private:
    cv::HOGDescriptor m_hog;
};

} // namespace tavo::devkit
