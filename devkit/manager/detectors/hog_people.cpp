#include "detectors/hog_people.h"

#include <cmath>

#include "detectors/coco_classes.h"
#include "detectors/person_window.h"

namespace tavo::devkit
{
namespace
{

// A distance from the separating plane as something between 0 and 1.
float scoreOf(double distance)
{
    return static_cast<float>(1 / (1 + std::exp(-distance)));
}

} // namespace

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

    const Box image{0, 0, static_cast<float>(bgr.cols), static_cast<float>(bgr.rows)};
    std::vector<Detection> found;
    for (size_t i = 0; i < windows.size(); ++i)
    {
        const cv::Rect2f window(windows[i]);
        const Box person = shrinkToPerson({window.x, window.y, window.width, window.height});
        found.push_back({kPersonClass, scoreOf(distances[i]), sharedBox(person, image)});
    }
    return found;
}

} // namespace tavo::devkit
