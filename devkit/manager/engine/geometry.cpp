#include "engine/geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavo::devkit
{
namespace
{

// Which side of the way from `a` to `b` the point lies on: -1, 1, or 0 for neither.
int sideOf(cv::Point2f a, cv::Point2f b, cv::Point2f point)
{
    const double cross = (b - a).cross(point - a);
    return cross > 0 ? 1 : cross < 0 ? -1 : 0;
}

float distanceToSegment(cv::Point2f a, cv::Point2f b, cv::Point2f point)
{
    const cv::Point2f way = b - a;
    const double length2 = way.ddot(way);
    const double part = length2 > 0 ? std::clamp(way.ddot(point - a) / length2, 0.0, 1.0) : 0.0;
    return static_cast<float>(cv::norm(point - (a + way * static_cast<float>(part))));
}

} // namespace

cv::Point2f footPoint(const cv::Rect2f& box)
{
    return {box.x + box.width / 2, box.y + box.height};
}

float overlapOf(const cv::Rect2f& a, const cv::Rect2f& b)
{
    const float shared = (a & b).area();
    const float total = a.area() + b.area() - shared;
    return total > 0 ? shared / total : 0;
}

bool contains(const Polygon& polygon, cv::Point2f point)
{
    bool isInside = false;
    for (std::size_t i = 0, previous = polygon.size() - 1; i < polygon.size(); previous = i++)
    {
        const cv::Point2f a = polygon[previous];
        const cv::Point2f b = polygon[i];
        // Edges that a ray to the right meets, each with its upper end only.
        if ((a.y > point.y) != (b.y > point.y) &&
            point.x < (b.x - a.x) * (point.y - a.y) / (b.y - a.y) + a.x)
        {
            isInside = !isInside;
        }
    }
    return isInside;
}

bool waysCross(cv::Point2f a, cv::Point2f b, cv::Point2f c, cv::Point2f d)
{
    const cv::Rect2f boxes[] = {cv::Rect2f(a, b), cv::Rect2f(c, d)};
    // Only ways on one straight line need this: their sides are all 0.
    const bool mayMeet = boxes[0].x <= boxes[1].br().x && boxes[1].x <= boxes[0].br().x &&
        boxes[0].y <= boxes[1].br().y && boxes[1].y <= boxes[0].br().y;
    return mayMeet && sideOf(a, b, c) * sideOf(a, b, d) <= 0 &&
        sideOf(c, d, a) * sideOf(c, d, b) <= 0;
}

float distanceToLine(const Polygon& line, cv::Point2f point)
{
    float distance = std::numeric_limits<float>::infinity();
    for (std::size_t i = 1; i < line.size(); ++i)
        distance = std::min(distance, distanceToSegment(line[i - 1], line[i], point));
    return distance;
}

} // namespace tavo::devkit
