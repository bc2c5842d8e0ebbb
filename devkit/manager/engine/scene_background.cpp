#include "engine/scene_background.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

namespace tavo::devkit
{
namespace
{

constexpr int kWorkingWidth = 320; // pixels, at most
constexpr double kMinDifference = 25; // of 255 grey levels
constexpr double kMinPart = 0.0015; // of the picture's area

cv::Mat smallGrey(const cv::Mat& rgb)
{
    cv::Mat small;
    const double scale = std::min(1.0, double(kWorkingWidth) / rgb.cols);
    const cv::Size size(
        std::max(1, cvRound(rgb.cols * scale)), std::max(1, cvRound(rgb.rows * scale)));
    cv::resize(rgb, small, size, 0, 0, cv::INTER_AREA);
    cv::Mat grey;
    cv::cvtColor(small, grey, cv::COLOR_RGB2GRAY);
    cv::blur(grey, grey, {3, 3}); // sensor noise
    return grey;
}

// Boxes around connected parts, those next to each other joined.
std::vector<cv::Rect> partsOf(const cv::Mat& mask)
{
    cv::Mat joined;
    cv::dilate(mask, joined, cv::Mat(), {-1, -1}, 3);
    cv::Mat labels;
    cv::Mat stats;
    cv::Mat centres;
    const int count = cv::connectedComponentsWithStats(joined, labels, stats, centres);
    std::vector<cv::Rect> parts;
    for (int i = 1; i < count; ++i) // 0 is what lies around all parts
    {
        if (stats.at<int>(i, cv::CC_STAT_AREA) < kMinPart * mask.size().area())
            continue;
        parts.emplace_back(
            stats.at<int>(i, cv::CC_STAT_LEFT), stats.at<int>(i, cv::CC_STAT_TOP),
            stats.at<int>(i, cv::CC_STAT_WIDTH), stats.at<int>(i, cv::CC_STAT_HEIGHT));
    }
    return parts;
}

} // namespace

std::vector<cv::Rect2f> SceneBackground::differences(const cv::Mat& rgb)
{
    const cv::Mat grey = smallGrey(rgb);
    if (m_background.size() != grey.size())
    {
        grey.convertTo(m_background, CV_32F);
        return {};
    }
    cv::Mat background;
    m_background.convertTo(background, CV_8U);
    cv::Mat changed;
    cv::absdiff(grey, background, changed);
    cv::threshold(changed, changed, kMinDifference, 255, cv::THRESH_BINARY);
    cv::accumulateWeighted(grey, m_background, m_learning.unchanged, ~changed);
    if (m_learning.changed > 0)
        cv::accumulateWeighted(grey, m_background, m_learning.changed, changed);

    const cv::Size2f scale(float(rgb.cols) / float(grey.cols), float(rgb.rows) / float(grey.rows));
    std::vector<cv::Rect2f> found;
    for (const cv::Rect& part : partsOf(changed))
    {
        found.emplace_back(
            float(part.x) * scale.width, float(part.y) * scale.height,
            float(part.width) * scale.width, float(part.height) * scale.height);
    }
    return found;
}

} // namespace tavo::devkit
