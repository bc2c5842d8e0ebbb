#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "engine/grey_plane.h"

namespace tavo::devkit
{
namespace
{

// Sides of which some are smaller than what the filters reach, and some no multiple of anything.
constexpr Size kSizes[] = {{1, 1}, {1, 5}, {5, 1}, {2, 2}, {3, 4}, {17, 9}, {64, 40}};

std::size_t placeOf(Size size, int x, int y)
{
    return std::size_t(y) * std::size_t(size.width) + std::size_t(x);
}

Plane randomPlane(std::size_t count)
{
    std::mt19937 random(7);
    Plane plane(count);
    for (std::uint8_t& byte : plane)
        byte = std::uint8_t(random());
    return plane;
}

// Hands `see` the pixels up to `reach` away from the place, itself too.
void lookAround(const Plane& plane, Size size, int x, int y, int reach, auto&& see)
{
    for (int row = std::max(0, y - reach); row <= std::min(size.height - 1, y + reach); ++row)
    {
        for (int column = std::max(0, x - reach); column <= std::min(size.width - 1, x + reach);
             ++column)
        {
            see(plane[placeOf(size, column, row)]);
        }
    }
}

void atEachPixel(Size size, auto&& visit)
{
    for (int y = 0; y < size.height; ++y)
    {
        for (int x = 0; x < size.width; ++x)
            visit(x, y, placeOf(size, x, y));
    }
}

TEST(GreyPlane, aCopyIsTheMeanOfWhatItsPixelsStandFor)
{
    const struct
    {
        Size image;
        Size copy;
    } kCases[] = {
        {{640, 360}, {320, 180}}, {{333, 217}, {320, 209}},  {{1000, 31}, {320, 10}},
        {{40, 30}, {40, 30}},     {{32'767, 153}, {320, 1}}, {{1, 1}, {1, 1}},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.image.width);
        const Plane pixels = randomPlane(areaOf(c.image) * 3);
        const Plane white(pixels.size(), 255);
        Plane copy;
        greyCopy({white.data(), c.image}, c.copy, copy);
        EXPECT_EQ(copy, Plane(areaOf(c.copy), 255));
        greyCopy({pixels.data(), c.image}, c.copy, copy);
        ASSERT_EQ(copy.size(), areaOf(c.copy));
        int wrong = 0;
        atEachPixel(
            c.copy,
            [&](int x, int y, std::size_t at)
            {
                std::uint64_t sum = 0;
                std::uint64_t count = 0;
                for (int row = y * c.image.height / c.copy.height;
                     row < (y + 1) * c.image.height / c.copy.height; ++row)
                {
                    for (int column = x * c.image.width / c.copy.width;
                         column < (x + 1) * c.image.width / c.copy.width; ++column)
                    {
                        const std::size_t pixel = placeOf(c.image, column, row) * 3;
                        sum += 77u * pixels[pixel] + 150u * pixels[pixel + 1] +
                            29u * pixels[pixel + 2];
                        ++count;
                    }
                }
                wrong += copy[at] != sum / (256 * count);
            });
        EXPECT_EQ(wrong, 0);
    }
}

TEST(GreyPlane, smoothingGivesTheMeanOfThoseAround)
{
    for (const Size size : kSizes)
    {
        SCOPED_TRACE(size.width);
        SCOPED_TRACE(size.height);
        const Plane plane = randomPlane(areaOf(size));
        Plane spare;
        Plane result = plane;
        smooth(result, size, spare);
        ASSERT_EQ(result.size(), plane.size());
        atEachPixel(
            size,
            [&](int x, int y, std::size_t at)
            {
                double sum = 0;
                int count = 0;
                lookAround(
                    plane, size, x, y, 1,
                    [&](std::uint8_t pixel)
                    {
                        sum += pixel;
                        ++count;
                    });
                // Cut to a whole number across, and once more down.
                EXPECT_LE(result[at], sum / count + 0.001);
                EXPECT_GT(result[at], sum / count - 2);
            });
        Plane even(areaOf(size), 200);
        smooth(even, size, spare);
        EXPECT_EQ(even, Plane(areaOf(size), 200));
    }
}

TEST(GreyPlane, spreadingGivesTheHighestOfThoseAround)
{
    for (const Size size : kSizes)
    {
        for (const int reach : {1, 3})
        {
            SCOPED_TRACE(size.width);
            SCOPED_TRACE(size.height);
            SCOPED_TRACE(reach);
            Plane plane = randomPlane(areaOf(size));
            Plane expected(plane.size());
            atEachPixel(
                size,
                [&](int x, int y, std::size_t at)
                {
                    lookAround(
                        plane, size, x, y, reach,
                        [&](std::uint8_t pixel) { expected[at] = std::max(expected[at], pixel); });
                });
            Plane spare;
            spread(plane, size, reach, spare);
            EXPECT_EQ(plane, expected);
        }
    }
}

} // namespace
} // namespace tavo::devkit
