#pragma once

#include <string>

#include <opencv2/core.hpp>

#include "media/picture.h"

namespace tavo::devkit
{

// A JPEG of the picture, made smaller where it is wider than `widthAtMost`. Throws
// std::runtime_error.
[[nodiscard]] std::string encodeJpeg(const Picture& picture, int widthAtMost);

// RGB, 3 bytes a pixel; empty when the bytes are no JPEG.
[[nodiscard]] cv::Mat decodeJpeg(const std::string& bytes);

} // namespace tavo::devkit
