#include "detectors/nanodet.h"

#include <opencv2/imgproc.hpp>

#include <array>
#include <string>
#include <utility>

#include "detectors/nanodet_head.h"

namespace tavo::devkit
{
namespace
{

constexpr int kInputSize = 416;
constexpr std::array<int, 3> kStrides = {8, 16, 32};

// Mean and deviation of blue, green and red in the model's training images.
constexpr std::array<float, 3> kMean = {103.53f, 116.28f, 123.675f};
constexpr std::array<float, 3> kDeviation = {57.375f, 57.12f, 58.395f};

std::string headName(int stride)
{
    return "head_" + std::to_string(stride);
}

// The image as the model takes it: 1 x 3 x height x width, normalized.
cv::Mat makeBlob(const cv::Mat& bgr)
{
    cv::Mat scaled;
    cv::resize(bgr, scaled, {kInputSize, kInputSize}, 0, 0, cv::INTER_LINEAR);
    scaled.convertTo(scaled, CV_32FC3);

    const int shape[] = {1, 3, kInputSize, kInputSize};
    cv::Mat blob(4, shape, CV_32F);
    std::array<cv::Mat, 3> planes;
    for (int i = 0; i < 3; ++i)
        planes[i] = cv::Mat(kInputSize, kInputSize, CV_32F, blob.ptr(0, i));
    cv::split(scaled, planes.data());
    for (int i = 0; i < 3; ++i)
        planes[i].convertTo(planes[i], CV_32F, 1 / kDeviation[i], -kMean[i] / kDeviation[i]);
    return blob;
}

Box toImage(const Box& box, const cv::Size& image)
{
    const float x = static_cast<float>(image.width) / kInputSize;
    const float y = static_cast<float>(image.height) / kInputSize;
    return sharedBox(
        {box.x * x, box.y * y, box.width * x, box.height * y},
        {0, 0, static_cast<float>(image.width), static_cast<float>(image.height)});
}

} // namespace

NanoDet::NanoDet(const std::filesystem::path& model) :
    NanoDet(model, Thresholds())
{}

NanoDet::NanoDet(const std::filesystem::path& model, Thresholds thresholds) :
    m_thresholds(thresholds),
    m_net(cv::dnn::readNetFromONNX(model.string()))
{}

std::vector<Detection> NanoDet::detect(const cv::Mat& bgr)
{
    CV_Assert(bgr.type() == CV_8UC3 && !bgr.empty());
    m_net.setInput(makeBlob(bgr));
    std::vector<cv::String> names;
    for (const int stride : kStrides)
        names.push_back(headName(stride));
    std::vector<cv::Mat> heads;
    m_net.forward(heads, names);

    std::vector<Detection> found;
    for (size_t i = 0; i < kStrides.size(); ++i)
    {
        const cv::Mat& head = heads[i];
        CV_Assert(head.dims == 4 && head.type() == CV_32F && head.isContinuous());
        const auto inHead = decodeHead(
            {head.ptr<float>(), head.total()}, head.size[2], head.size[3], kStrides[i],
            m_thresholds.score);
        found.insert(found.end(), inHead.begin(), inHead.end());
    }
    found = suppressOverlaps(std::move(found), m_thresholds.overlap);
    for (Detection& detection : found)
        detection.box = toImage(detection.box, bgr.size());
    return found;
}

} // namespace tavo::devkit
