#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>
#include <utility>

#include "engine/mask_parts.h"

namespace tavo::devkit
{
namespace
{

using Fields = std::tuple<int, int, int, int, std::size_t>;

std::vector<Fields> fieldsOf(const std::vector<MaskPart>& parts)
{
    std::vector<Fields> fields;
    for (const MaskPart& part : parts)
        fields.emplace_back(part.left, part.top, part.right, part.bottom, part.area);
    return fields;
}

// Pixel by pixel, from neighbour to neighbour.
std::vector<Fields> flooded(Plane mask, Size size)
{
    std::vector<Fields> parts;
    for (int y = 0; y < size.height; ++y)
    {
        for (int x = 0; x < size.width; ++x)
        {
            Fields part{x, y, x, y, 0};
            auto& [left, top, right, bottom, area] = part;
            std::vector<std::pair<int, int>> open;
            const auto take = [&](int column, int row)
            {
                if (column < 0 || row < 0 || column >= size.width || row >= size.height)
                    return;
                const std::size_t place =
                    std::size_t(row) * std::size_t(size.width) + std::size_t(column);
                if (std::exchange(mask[place], std::uint8_t(0)))
                    open.emplace_back(column, row);
            };
            take(x, y);
            while (!open.empty())
            {
                const auto [column, row] = open.back();
                open.pop_back();
                left = std::min(left, column);
                right = std::max(right, column);
                bottom = std::max(bottom, row);
                ++area;
                for (const int r : {row - 1, row, row + 1})
                {
                    for (const int c : {column - 1, column, column + 1})
                        take(c, r);
                }
            }
            if (area > 0)
                parts.push_back(part);
        }
    }
    return parts;
}

TEST(MaskParts, areThoseThatAFloodFinds)
{
    std::mt19937 random(7);
    for (const Size size : {Size{1, 1}, {1, 9}, {9, 1}, {8, 8}, {40, 25}, {200, 60}})
    {
        for (const double share : {0.0, 0.05, 0.2, 0.35, 0.5, 0.8, 1.0})
        {
            for (int round = 0; round < 20; ++round)
            {
                Plane mask(areaOf(size));
                std::bernoulli_distribution isMarked(share);
                for (std::uint8_t& pixel : mask)
                    pixel = isMarked(random) ? std::uint8_t(1 + random() % 255) : std::uint8_t(0);
                SCOPED_TRACE(size.width);
                SCOPED_TRACE(share);
                ASSERT_EQ(fieldsOf(partsOf(mask, size)), flooded(mask, size));
            }
        }
    }
}

TEST(MaskParts, windingOnesAreOne)
{
    const char* const kRows[] = {
        "#########..#.", "#.......#...#", "#.#####.#..#.", "#.#...#.#.#..",
        "#.#.#.#.##...", "#.#.###.....#", "#.#.........#", "#.###########",
    };
    const Size size{13, 8};
    Plane mask;
    for (const char* row : kRows)
    {
        for (; *row; ++row)
            mask.push_back(*row == '#' ? 255 : 0);
    }
    EXPECT_EQ(fieldsOf(partsOf(mask, size)), flooded(mask, size));
    EXPECT_EQ(partsOf(mask, size).size(), 2u);
}

} // namespace
} // namespace tavo::devkit
