#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include <opencv2/core.hpp>

#include "detection.h"

namespace tavo::devkit
{

// Finds objects in frames. One object serves all inputs, on one thread. Errors of OpenCV are
// cv::Exception.
class Detector
{
public:
    Detector() = default;
    Detector(const Detector&) = delete;
    Detector& operator=(const Detector&) = delete;
    virtual ~Detector() = default;

    // `rgb`: 3 bytes a pixel, only read. The boxes still overlap as they were found.
    [[nodiscard]] virtual std::vector<Detection> detect(
        const cv::Mat& rgb, std::uint64_t inputIndex) = 0;

    // Of a class index in its detections.
    [[nodiscard]] virtual std::string_view className(int classIndex) const = 0;
};

// OpenCV's people detector, which needs no file. Finds the class "person".
[[nodiscard]] std::unique_ptr<Detector> makeHogDetector();

// The COCO model in the file; throws cv::Exception where the file is no model.
[[nodiscard]] std::unique_ptr<Detector> makeNanoDetDetector(const std::filesystem::path& model);

// Whatever moves before a fixed camera, as class "motion": real boxes for a millisecond a frame.
[[nodiscard]] std::unique_ptr<Detector> makeMotionDetector();

} // namespace tavo::devkit
