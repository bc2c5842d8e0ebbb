#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include "engine/detection.h"

namespace tavo::devkit
{

// Finds objects in frames. One object serves all inputs, on one thread. Errors are std::exception.
class Detector
{
public:
    Detector() = default;
    Detector(const Detector&) = delete;
    Detector& operator=(const Detector&) = delete;
    virtual ~Detector() = default;

    // `rgb` is not empty. The boxes still overlap as they were found.
    [[nodiscard]] virtual std::vector<Detection> detect(
        const RgbImage& rgb, std::uint64_t inputIndex) = 0;

    // Of a class index in its detections.
    [[nodiscard]] virtual std::string_view className(int classIndex) const = 0;
};

// Whatever moves before a fixed camera, as class "motion": real boxes for a fifth of a millisecond
// a frame.
[[nodiscard]] std::unique_ptr<Detector> makeMotionDetector();

// OpenCV's people detector, which needs no file: finds the class "person". In a build without
// OpenCV the motion detector stands in its place.
[[nodiscard]] std::unique_ptr<Detector> makeHogDetector();

// The COCO model in the file. Throws std::exception where the file is no model, and in a build
// without OpenCV.
[[nodiscard]] std::unique_ptr<Detector> makeNanoDetDetector(const std::filesystem::path& model);

} // namespace tavo::devkit
