#pragma once

#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "page/history.h"

namespace tavo::devkit
{

// A video (MP4) of the pictures with what was found drawn into them. A picture that has no result
// of its own shows the last one for a short while, as a page does. `lines` are those that the
// metadata sink makes of objects and events. Empty without pictures. Throws std::runtime_error.
[[nodiscard]] std::string makeClip(
    const std::vector<History::Picture>& pictures, const std::vector<History::Line>& lines,
    const std::vector<cv::Point2f>& crossingLine);

} // namespace tavo::devkit
