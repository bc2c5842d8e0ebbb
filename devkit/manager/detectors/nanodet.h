#pragma once

#include <opencv2/core.hpp>
#include <opencv2/dnn.hpp>

#include <filesystem>
#include <vector>

#include "engine/detection.h"

namespace tavo::devkit
{

// NanoDet, a small detector of the COCO classes, run on the CPU by OpenCV. The model file is what
// scripts/nanodet_to_onnx.py writes: raw values of cells at strides 8, 16 and 32.
// Errors are cv::Exception. One object serves one thread at a time.
class NanoDet
{
public:
    struct Thresholds
    {
        float score = 0.45f; // cells that are less sure give nothing
        float overlap = 0.5f; // of two boxes of a class that overlap by more, the better one stays
    };

    // Throws where the file cannot be read as a model.
    explicit NanoDet(const std::filesystem::path& model);
    NanoDet(const std::filesystem::path& model, Thresholds thresholds);

    // `bgr`: 3 bytes a pixel, not empty, any size; it is stretched to what the model takes.
    // Gives the best first.
    [[nodiscard]] std::vector<Detection> detect(const cv::Mat& bgr);

private:
    const Thresholds m_thresholds;
    cv::dnn::Net m_net;
};

} // namespace tavo::devkit
