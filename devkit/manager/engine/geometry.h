#pragma once

#include <vector>

#include <opencv2/core.hpp>

namespace tavo::devkit
{

using Polygon = std::vector<cv::Point2f>;

// Where an object stands: the middle of the lower edge of its box.
[[nodiscard]] cv::Point2f footPoint(const cv::Rect2f& box);

// Shared area by the area of both together; 0 when there is none.
[[nodiscard]] float overlapOf(const cv::Rect2f& a, const cv::Rect2f& b);

// By the even-odd rule. Fewer than three corners hold nothing.
[[nodiscard]] bool contains(const Polygon& polygon, cv::Point2f point);

// The way from `a` to `b` crosses or touches that from `c` to `d`.
[[nodiscard]] bool waysCross(cv::Point2f a, cv::Point2f b, cv::Point2f c, cv::Point2f d);

// From the nearest point of the polyline; infinite when it has no two points.
[[nodiscard]] float distanceToLine(const Polygon& line, cv::Point2f point);

} // namespace tavo::devkit
