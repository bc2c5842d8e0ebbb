#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace tavo::devkit
{

// Where things are in a picture, in its pixels, and the picture itself.

struct Size
{
    int width = 0;
    int height = 0;

    [[nodiscard]] int area() const { return width * height; }
    bool operator==(const Size&) const = default;
};

struct Point
{
    float x = 0;
    float y = 0;

    Point operator+(Point other) const { return {x + other.x, y + other.y}; }
    Point operator-(Point other) const { return {x - other.x, y - other.y}; }
    Point operator*(float factor) const { return {x * factor, y * factor}; }
    bool operator==(const Point&) const = default;
};

[[nodiscard]] inline double lengthOf(Point way)
{
    return std::hypot(double(way.x), double(way.y));
}

struct Box
{
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;

    // With these two points as opposite corners.
    [[nodiscard]] static Box between(Point a, Point b)
    {
        const float left = std::min(a.x, b.x);
        const float top = std::min(a.y, b.y);
        return {left, top, std::max(a.x, b.x) - left, std::max(a.y, b.y) - top};
    }

    [[nodiscard]] float right() const { return x + width; }
    [[nodiscard]] float bottom() const { return y + height; }
    [[nodiscard]] float area() const { return width * height; }
    [[nodiscard]] Point centre() const { return {x + width / 2, y + height / 2}; }
    bool operator==(const Box&) const = default;
};

// What both cover; of no size where they share nothing.
[[nodiscard]] inline Box sharedBox(const Box& a, const Box& b)
{
    const float left = std::max(a.x, b.x);
    const float top = std::max(a.y, b.y);
    const float width = std::min(a.right(), b.right()) - left;
    const float height = std::min(a.bottom(), b.bottom()) - top;
    return width > 0 && height > 0 ? Box{left, top, width, height} : Box{};
}

// A picture of 3 bytes a pixel in rows without gaps, which somebody else owns.
struct RgbImage
{
    const std::uint8_t* pixels = nullptr;
    Size size;
};

} // namespace tavo::devkit
