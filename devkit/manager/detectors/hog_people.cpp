#include "detectors/hog_people.h"

#include <cmath>

#include "detectors/coco_classes.h"

namespace tavo::devkit
{
namespace
{

// The detector learned from pictures with a margin around the person.
constexpr float kPersonWidth = 0.64f;
constexpr float kPersonHeight = 0.8f;

// A distance from the separating plane as something between 0 and 1.
float scoreOf(double distance)
{
    return static_cast<float>(1 / (1 + std::exp(-distance)));
}

} // namespace

cv::Rect2f shrinkToPerson(const cv::Rect2f& window)
{
    const float width = window.width * kPersonWidth;
    const float height = window.height * kPersonHeight;
    return {
        window.x + (window.width - width) / 2, window.y + (window.height - height) / 2, width,
        height};
}

HogPeople::HogPeople()
{
    m_hog.setSVMDetector(cv::HOGDescriptor::getDefaultPeopleDetector());
}

std::vector<Detection> HogPeople::detect(const cv::Mat& bgr)
{
    CV_Assert(bgr.type() == CV_8UC3 && !bgr.empty());
    if (bgr.cols < m_hog.winSize.width || bgr.rows < m_hog.winSize.height)
        return {};

    std::vector<cv::Rect> windows;
    std::vector<double> distances;
    m_hog.detectMultiScale(
        bgr, windows, distances, /*hitThreshold*/ 0, /*winStride*/ {8, 8},
        /*padding*/ {}, /*scale*/ 1.05, /*finalThreshold*/ 2);

    const cv::Rect2f image({0, 0}, cv::Size2f(bgr.size()));
    std::vector<Detection> found;
    for (size_t i = 0; i < windows.size(); ++i)
    {
        found.push_back(
            {kPersonClass, scoreOf(distances[i]), shrinkToPerson(cv::Rect2f(windows[i])) & image});
    }
    return found;
}

} // namespace tavo::devkit
