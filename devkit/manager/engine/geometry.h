#pragma once

#include <vector>

#include "engine/shapes.h"

namespace tavo::devkit
{

using Polygon = std::vector<Point>;

// Where an object stands: the middle of the lower edge of its box.
[[nodiscard]] Point footPoint(const Box& box);

// Shared area by the area of both together; 0 when there is none.
[[nodiscard]] float overlapOf(const Box& a, const Box& b);

// By the even-odd rule. Fewer than three corners hold nothing.
[[nodiscard]] bool contains(const Polygon& polygon, Point point);

// The way from `a` to `b` crosses or touches that from `c` to `d`.
[[nodiscard]] bool waysCross(Point a, Point b, Point c, Point d);

// From the nearest point of the polyline; infinite when it has no two points.
[[nodiscard]] float distanceToLine(const Polygon& line, Point point);

} // namespace tavo::devkit
