#include "detectors/nanodet.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "detectors/coco_classes.h"

namespace tavo::devkit
{
namespace
{

constexpr int kInputSize = 416;
constexpr std::array<int, 3> kStrides = {8, 16, 32};
constexpr int kClassCount = static_cast<int>(kCocoClasses.size());
constexpr int kSides = 4; // left, top, right, bottom
constexpr int kBins = 11; // a side's distance is 0 to 10 strides

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

// A cell's values lie `step` floats apart, one plane a channel.
struct Cell
{
    const float* values;
    size_t step;

    float operator[](int channel) const { return values[static_cast<size_t>(channel) * step]; }
};

int likeliestClass(Cell cell)
{
    int best = 0;
    for (int i = 1; i < kClassCount; ++i)
    {
        if (cell[i] > cell[best])
            best = i;
    }
    return best;
}

// How far the box reaches from the cell's centre, in strides: the expectation over the bins.
float reach(Cell cell, int side)
{
    const int first = kClassCount + side * kBins;
    float highest = cell[first];
    for (int bin = 1; bin < kBins; ++bin)
        highest = std::max(highest, cell[first + bin]);

    float sum = 0;
    float weighted = 0;
    for (int bin = 0; bin < kBins; ++bin)
    {
        const float weight = std::exp(cell[first + bin] - highest);
        sum += weight;
        weighted += weight * static_cast<float>(bin);
    }
    return weighted / sum;
}

Box boxOfCell(Cell cell, int column, int row, int stride)
{
    const float centreX = static_cast<float>(column) + 0.5f;
    const float centreY = static_cast<float>(row) + 0.5f;
    const auto size = static_cast<float>(stride);
    return Box::between(
        Point{centreX - reach(cell, 0), centreY - reach(cell, 1)} * size,
        Point{centreX + reach(cell, 2), centreY + reach(cell, 3)} * size);
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

std::vector<Detection> decodeHead(const cv::Mat& head, int stride, float minScore)
{
    CV_Assert(
        head.dims == 4 && head.type() == CV_32F && head.isContinuous() &&
        head.size[1] == kClassCount + kSides * kBins);
    const int rows = head.size[2];
    const int columns = head.size[3];

    std::vector<Detection> found;
    for (int row = 0; row < rows; ++row)
    {
        for (int column = 0; column < columns; ++column)
        {
            const Cell cell{head.ptr<float>(0, 0) + row * columns + column, head.step1(1)};
            const int classIndex = likeliestClass(cell);
            const float score = 1 / (1 + std::exp(-cell[classIndex]));
            if (score >= minScore)
                found.push_back({classIndex, score, boxOfCell(cell, column, row, stride)});
        }
    }
    return found;
}

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
        const auto inHead = decodeHead(heads[i], kStrides[i], m_thresholds.score);
        found.insert(found.end(), inHead.begin(), inHead.end());
    }
    found = suppressOverlaps(std::move(found), m_thresholds.overlap);
    for (Detection& detection : found)
        detection.box = toImage(detection.box, bgr.size());
    return found;
}

} // namespace tavo::devkit
