// The detectors of a build without OpenCV.

#include <stdexcept>

#include "engine/detector.h"

namespace tavo::devkit
{

std::unique_ptr<Detector> makeHogDetector()
{
    return makeMotionDetector();
}

std::unique_ptr<Detector> makeNanoDetDetector(const std::filesystem::path&)
{
    throw std::runtime_error("this build has no OpenCV to run it");
}

} // namespace tavo::devkit
