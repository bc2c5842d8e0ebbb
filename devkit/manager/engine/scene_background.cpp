#include "engine/scene_background.h"

#include <cmath>
#include <utility>

namespace tavo::devkit
{
namespace
{

constexpr int kWorkingWidth = 320; // pixels, at most
constexpr float kMinDifference = 25; // of 255 grey levels
constexpr float kMinPart = 0.0015f; // of the picture's area
constexpr int kNoiseReach = 1; // pixels of the small copy that noise is averaged over, each way
constexpr int kJoiningReach = 3; // parts nearer to each other than twice this are one

using Plane = std::vector<std::uint8_t>; // one byte a pixel, row after row

std::size_t areaOf(Size size)
{
    return std::size_t(size.width) * std::size_t(size.height);
}

Size workingSize(Size size)
{
    const double scale = std::min(1.0, double(kWorkingWidth) / size.width);
    return {
        std::max(1, int(std::lround(size.width * scale))),
        std::max(1, int(std::lround(size.height * scale)))};
}

// Brightness as the eye weighs the colours, in 256ths.
unsigned greyOf(const std::uint8_t* rgb)
{
    return (77u * rgb[0] + 150u * rgb[1] + 29u * rgb[2]) >> 8;
}

// Each pixel of the copy is the mean of those of the image that it stands for.
Plane smallGrey(const RgbImage& rgb, Size size)
{
    Plane grey(areaOf(size));
    const auto edge = [](int i, int small, int large)
    { return int(std::int64_t(i) * large / small); };
    for (int y = 0; y < size.height; ++y)
    {
        const int top = edge(y, size.height, rgb.size.height);
        const int bottom = edge(y + 1, size.height, rgb.size.height);
        for (int x = 0; x < size.width; ++x)
        {
            const int left = edge(x, size.width, rgb.size.width);
            const int right = edge(x + 1, size.width, rgb.size.width);
            unsigned sum = 0;
            for (int row = top; row < bottom; ++row)
            {
                const std::uint8_t* const pixels =
                    rgb.pixels + std::size_t(row) * std::size_t(rgb.size.width) * 3;
                for (int column = left; column < right; ++column)
                    sum += greyOf(pixels + std::size_t(column) * 3);
            }
            grey[std::size_t(y) * std::size_t(size.width) + std::size_t(x)] =
                std::uint8_t(sum / unsigned((bottom - top) * (right - left)));
        }
    }
    return grey;
}

// Replaces each pixel by what `combine` makes of those up to `reach` away in its row, and then in
// its column; at the border there are fewer of them.
template <class Combine>
void filterBothWays(Plane& plane, Size size, int reach, Combine combine)
{
    const auto filterLines = [&](int lines, int length, int lineStep, int step)
    {
        Plane line(static_cast<std::size_t>(length));
        for (int i = 0; i < lines; ++i)
        {
            std::uint8_t* const start = plane.data() + std::ptrdiff_t(i) * lineStep;
            for (int at = 0; at < length; ++at)
                line[std::size_t(at)] = start[std::ptrdiff_t(at) * step];
            for (int at = 0; at < length; ++at)
            {
                const int from = std::max(0, at - reach);
                const int to = std::min(length - 1, at + reach);
                start[std::ptrdiff_t(at) * step] =
                    combine(line.data() + from, line.data() + to + 1);
            }
        }
    };
    filterLines(size.height, size.width, size.width, 1);
    filterLines(size.width, size.height, 1, size.width);
}

std::uint8_t meanOf(const std::uint8_t* begin, const std::uint8_t* end)
{
    unsigned sum = 0;
    for (const std::uint8_t* at = begin; at != end; ++at)
        sum += *at;
    return std::uint8_t(sum / unsigned(end - begin));
}

std::uint8_t highestOf(const std::uint8_t* begin, const std::uint8_t* end)
{
    return *std::max_element(begin, end);
}

// A connected part of what differs.
struct Part
{
    int left;
    int top;
    int right; // the last column
    int bottom; // the last row
    std::size_t area;
};

// Takes the part that holds the pixel out of the mask. Pixels that touch at a corner are connected.
Part takePart(Plane& mask, Size size, int x, int y)
{
    Part part{x, y, x, y, 0};
    std::vector<std::pair<int, int>> open;
    const auto take = [&](int column, int row)
    {
        std::uint8_t& pixel =
            mask[std::size_t(row) * std::size_t(size.width) + std::size_t(column)];
        if (std::exchange(pixel, std::uint8_t(0)) != 0)
            open.emplace_back(column, row);
    };
    take(x, y);
    while (!open.empty())
    {
        const auto [column, row] = open.back();
        open.pop_back();
        part.left = std::min(part.left, column);
        part.top = std::min(part.top, row);
        part.right = std::max(part.right, column);
        part.bottom = std::max(part.bottom, row);
        ++part.area;
        for (int r = std::max(0, row - 1); r <= std::min(size.height - 1, row + 1); ++r)
        {
            for (int c = std::max(0, column - 1); c <= std::min(size.width - 1, column + 1); ++c)
                take(c, r);
        }
    }
    return part;
}

std::vector<Part> partsOf(Plane mask, Size size)
{
    filterBothWays(mask, size, kJoiningReach, &highestOf);
    std::vector<Part> parts;
    for (int y = 0; y < size.height; ++y)
    {
        for (int x = 0; x < size.width; ++x)
        {
            if (mask[std::size_t(y) * std::size_t(size.width) + std::size_t(x)] == 0)
                continue;
            const Part part = takePart(mask, size, x, y);
            if (float(part.area) >= kMinPart * float(areaOf(size)))
                parts.push_back(part);
        }
    }
    return parts;
}

} // namespace

std::vector<Box> SceneBackground::differences(const RgbImage& rgb)
{
    const Size size = workingSize(rgb.size);
    Plane grey = smallGrey(rgb, size);
    filterBothWays(grey, size, kNoiseReach, &meanOf);
    if (m_size != size)
    {
        m_size = size;
        m_background.assign(grey.begin(), grey.end());
        return {};
    }
    Plane changed(grey.size());
    compare(grey, changed);

    const float scaleX = float(rgb.size.width) / float(size.width);
    const float scaleY = float(rgb.size.height) / float(size.height);
    std::vector<Box> found;
    for (const Part& part : partsOf(std::move(changed), size))
    {
        found.push_back(
            {float(part.left) * scaleX, float(part.top) * scaleY,
             float(part.right - part.left + 1) * scaleX,
             float(part.bottom - part.top + 1) * scaleY});
    }
    return found;
}

void SceneBackground::compare(
    const std::vector<std::uint8_t>& grey, std::vector<std::uint8_t>& changed)
{
    for (std::size_t i = 0; i < grey.size(); ++i)
    {
        const float difference = float(grey[i]) - m_background[i];
        const bool isChanged = std::abs(difference) > kMinDifference;
        changed[i] = isChanged ? 255 : 0;
        m_background[i] += difference * (isChanged ? m_learning.changed : m_learning.unchanged);
    }
}

} // namespace tavo::devkit
