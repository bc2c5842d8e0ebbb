#include "page/jpeg.h"

#include <stdexcept>
#include <vector>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace tavo::devkit
{

namespace
{

constexpr int kQuality = 80;

} // namespace

std::string encodeJpeg(const Picture& picture, int widthAtMost)
{
    // OpenCV takes no constant pixels; it only reads them here.
    const cv::Mat whole(
        picture.height, picture.width, CV_8UC3, const_cast<uint8_t*>(picture.pixels.data()),
        size_t(picture.lineSize()));
    cv::Mat shown = whole;
    if (picture.width > widthAtMost)
    {
        const double scale = double(widthAtMost) / picture.width;
        cv::resize(whole, shown, {}, scale, scale, cv::INTER_AREA);
    }
    cv::Mat blueFirst;
    cv::cvtColor(shown, blueFirst, cv::COLOR_RGB2BGR);
    std::vector<uint8_t> bytes;
    if (!cv::imencode(".jpg", blueFirst, bytes, {cv::IMWRITE_JPEG_QUALITY, kQuality}))
        throw std::runtime_error("A picture could not be encoded.");
    return {bytes.begin(), bytes.end()};
}

cv::Mat decodeJpeg(const std::string& bytes)
{
    if (bytes.empty())
        return {}; // which OpenCV would throw for
    const std::vector<uint8_t> buffer(bytes.begin(), bytes.end());
    cv::Mat picture = cv::imdecode(buffer, cv::IMREAD_COLOR);
    if (!picture.empty())
        cv::cvtColor(picture, picture, cv::COLOR_BGR2RGB);
    return picture;
}

} // namespace tavo::devkit
