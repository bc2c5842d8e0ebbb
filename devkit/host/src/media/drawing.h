#pragma once

#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "metadata/metadata.h"

namespace tavo::devkit
{

// All draw on RGB pictures, 8 bits a channel.

// Boxes with class and the beginning of the track's id; one colour for one track.
void drawObjects(cv::Mat& picture, const std::vector<DetectedObject>& objects);

// A polyline, each point in fractions of the picture.
void drawLine(cv::Mat& picture, const std::vector<cv::Point2f>& points);

// Lines of text on a dark ground, from the top left corner down.
void drawTexts(cv::Mat& picture, const std::vector<std::string>& lines);

} // namespace tavo::devkit
