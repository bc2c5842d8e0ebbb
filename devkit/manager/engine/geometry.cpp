#include "engine/geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavo::devkit
{
namespace
{

double dotProduct(Point a, Point b)
{
    return double(a.x) * b.x + double(a.y) * b.y;
}

double crossProduct(Point a, Point b)
{
    return double(a.x) * b.y - double(a.y) * b.x;
}

// Which side of the way from `a` to `b` the point lies on: -1, 1, or 0 for neither.
int sideOf(Point a, Point b, Point point)
{
    const double cross = crossProduct(b - a, point - a);
    return cross > 0 ? 1 : cross < 0 ? -1 : 0;
}

float distanceToSegment(Point a, Point b, Point point)
{
    const Point way = b - a;
    const double length2 = dotProduct(way, way);
    const double part =
        length2 > 0 ? std::clamp(dotProduct(way, point - a) / length2, 0.0, 1.0) : 0.0;
    return static_cast<float>(lengthOf(point - (a + way * static_cast<float>(part))));
}

} // namespace

Point footPoint(const Box& box)
{
    return {box.x + box.width / 2, box.y + box.height};
}

float overlapOf(const Box& a, const Box& b)
{
    const float shared = sharedBox(a, b).area();
    const float total = a.area() + b.area() - shared;
    return total > 0 ? shared / total : 0;
}

bool contains(const Polygon& polygon, Point point)
{
    bool isInside = false;
    for (std::size_t i = 0, previous = polygon.size() - 1; i < polygon.size(); previous = i++)
    {
        const Point a = polygon[previous];
        const Point b = polygon[i];
        // Edges that a ray to the right meets, each with its upper end only.
        if ((a.y > point.y) != (b.y > point.y) &&
            point.x < (b.x - a.x) * (point.y - a.y) / (b.y - a.y) + a.x)
        {
            isInside = !isInside;
        }
    }
    return isInside;
}

bool waysCross(Point a, Point b, Point c, Point d)
{
    const Box boxes[] = {Box::between(a, b), Box::between(c, d)};
    // Only ways on one straight line need this: their sides are all 0.
    const bool mayMeet = boxes[0].x <= boxes[1].right() && boxes[1].x <= boxes[0].right() &&
        boxes[0].y <= boxes[1].bottom() && boxes[1].y <= boxes[0].bottom();
    return mayMeet && sideOf(a, b, c) * sideOf(a, b, d) <= 0 &&
        sideOf(c, d, a) * sideOf(c, d, b) <= 0;
}

float distanceToLine(const Polygon& line, Point point)
{
    float distance = std::numeric_limits<float>::infinity();
    for (std::size_t i = 1; i < line.size(); ++i)
        distance = std::min(distance, distanceToSegment(line[i - 1], line[i], point));
    return distance;
}

} // namespace tavo::devkit
