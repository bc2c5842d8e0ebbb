#include "media/drawing.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <opencv2/imgproc.hpp>

namespace tavo::devkit
{

namespace
{

constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;

// Readable on a thumbnail and on a large picture alike.
double fontScale(const cv::Mat& picture)
{
    return std::max(0.35, picture.cols / 1600.0);
}

cv::Scalar trackColour(const std::string& trackId)
{
    static const cv::Scalar kColours[] = {{255, 82, 82},  {64, 196, 255}, {105, 240, 174},
                                          {255, 215, 64}, {224, 64, 251}, {255, 145, 0},
                                          {24, 255, 255}, {178, 255, 89}};
    return kColours[std::hash<std::string>()(trackId) % std::size(kColours)];
}

// A coordinate from elsewhere may be anything; the picture's own size and a bit is enough to draw.
int toPixel(float fraction, int size)
{
    const float pixel = fraction * float(size);
    if (!std::isfinite(pixel))
        return 0;
    return int(std::lround(std::clamp(pixel, -float(size), 2 * float(size))));
}

void drawLabel(
    cv::Mat& picture, const std::string& text, cv::Point bottomLeft, const cv::Scalar& ground)
{
    const double scale = fontScale(picture);
    int baseline = 0;
    const cv::Size size = cv::getTextSize(text, kFont, scale, 1, &baseline);
    bottomLeft.y = std::max(bottomLeft.y, size.height + baseline);
    cv::rectangle(
        picture,
        {bottomLeft.x, bottomLeft.y - size.height - baseline, size.width, size.height + baseline},
        ground, cv::FILLED);
    cv::putText(
        picture, text, {bottomLeft.x, bottomLeft.y - baseline / 2 - 1}, kFont, scale,
        cv::Scalar(0, 0, 0), 1, cv::LINE_AA);
}

} // namespace

void drawObjects(cv::Mat& picture, const std::vector<DetectedObject>& objects)
{
    constexpr size_t kShortId = 4;
    for (const DetectedObject& object : objects)
    {
        const cv::Point from(
            toPixel(object.box.x, picture.cols), toPixel(object.box.y, picture.rows));
        const cv::Point to(
            toPixel(object.box.x + object.box.width, picture.cols),
            toPixel(object.box.y + object.box.height, picture.rows));
        const cv::Scalar colour = trackColour(object.trackId);
        cv::rectangle(picture, from, to, colour, std::max(1, picture.cols / 350));
        const size_t dot = object.typeId.rfind('.');
        const std::string name =
            dot == std::string::npos ? object.typeId : object.typeId.substr(dot + 1);
        drawLabel(picture, name + " " + object.trackId.substr(0, kShortId), from, colour);
    }
}

void drawLine(cv::Mat& picture, const std::vector<cv::Point2f>& points)
{
    for (size_t i = 1; i < points.size(); ++i)
    {
        cv::line(
            picture,
            {toPixel(points[i - 1].x, picture.cols), toPixel(points[i - 1].y, picture.rows)},
            {toPixel(points[i].x, picture.cols), toPixel(points[i].y, picture.rows)},
            cv::Scalar(255, 235, 59), std::max(1, picture.cols / 400), cv::LINE_AA);
    }
}

void drawTexts(cv::Mat& picture, const std::vector<std::string>& lines)
{
    const int height = int(std::lround(40 * fontScale(picture)));
    int bottom = height;
    for (const std::string& line : lines)
    {
        drawLabel(picture, line, {4, bottom}, cv::Scalar(250, 250, 250));
        bottom += height;
    }
}

} // namespace tavo::devkit
