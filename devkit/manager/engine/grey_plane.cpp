#include "engine/grey_plane.h"

#include <algorithm>
#include <span>

namespace tavo::devkit
{
namespace
{

// Where each pixel of a small side begins on the large one, and the last one ends.
std::vector<std::size_t> edgesOf(int small, int large)
{
    std::vector<std::size_t> edges;
    edges.reserve(std::size_t(small) + 1);
    for (int i = 0; i <= small; ++i)
        edges.push_back(std::size_t(i) * std::size_t(large) / std::size_t(small));
    return edges;
}

// What to multiply the sum over each pixel by, instead of dividing it.
std::vector<double> sharesOf(const std::vector<std::size_t>& edges, std::size_t divisor)
{
    std::vector<double> shares;
    shares.reserve(edges.size());
    for (std::size_t i = 1; i < edges.size(); ++i)
        shares.push_back(1 / double((edges[i] - edges[i - 1]) * divisor));
    return shares;
}

// A copy is nowhere 200 times smaller than its image, so sums of a column's bytes fit.
using ColumnSums = std::vector<std::uint16_t>;

void sumRows(const std::uint8_t* rows, std::size_t count, ColumnSums& sums)
{
    const std::size_t size = sums.size();
    std::copy_n(rows, size, sums.begin());
    for (std::size_t row = 1; row < count; ++row)
    {
        const std::uint8_t* const from = rows + row * size;
        for (std::size_t i = 0; i < size; ++i)
            sums[i] = std::uint16_t(sums[i] + from[i]);
    }
}

// The brightness of the mean, as the eye weighs the colours, in 256ths. `shares` are of the
// columns, and hold that of the row.
void weighRow(
    std::span<const std::uint16_t> sums, std::span<const std::size_t> edges,
    std::span<const double> shares, std::uint8_t* grey)
{
    for (std::size_t x = 0; x < shares.size(); ++x)
    {
        std::uint32_t red = 0;
        std::uint32_t green = 0;
        std::uint32_t blue = 0;
        for (std::size_t column = edges[x]; column < edges[x + 1]; ++column)
        {
            red += sums[3 * column];
            green += sums[3 * column + 1];
            blue += sums[3 * column + 2];
        }
        const std::uint32_t whole = 77 * red + 150 * green + 29 * blue;
        // The half keeps a whole number from ending up just below itself.
        grey[x] = std::uint8_t((double(whole) + 0.5) * shares[x]);
    }
}

void meanOfTwo(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* means, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        means[i] = std::uint8_t((a[i] + b[i]) / 2);
}

void meanOfThree(
    const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c, std::uint8_t* means,
    std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto sum = std::uint16_t(a[i] + b[i] + c[i]);
        means[i] = std::uint8_t(sum / 3);
    }
}

void raise(std::uint8_t* highest, const std::uint8_t* other, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        highest[i] = std::max(highest[i], other[i]);
}

} // namespace

void greyCopy(const RgbImage& rgb, Size size, Plane& grey)
{
    grey.resize(areaOf(size));
    const std::vector<std::size_t> columns = edgesOf(size.width, rgb.size.width);
    const std::vector<std::size_t> rows = edgesOf(size.height, rgb.size.height);
    std::vector<double> shares;
    std::size_t sharedHeight = 0;
    const std::size_t lineSize = std::size_t(rgb.size.width) * 3;
    ColumnSums sums(lineSize);
    for (std::size_t y = 0; y + 1 < rows.size(); ++y)
    {
        const std::size_t height = rows[y + 1] - rows[y];
        if (height != sharedHeight)
            shares = sharesOf(columns, 256 * height);
        sharedHeight = height;
        sumRows(rgb.pixels + rows[y] * lineSize, height, sums);
        weighRow(sums, columns, shares, grey.data() + y * std::size_t(size.width));
    }
}

void smooth(Plane& plane, Size size, Plane& spare)
{
    const auto width = std::size_t(size.width);
    const auto height = std::size_t(size.height);
    spare = plane;
    for (std::size_t y = 0; y < height && width > 1; ++y)
    {
        const std::uint8_t* const from = plane.data() + y * width;
        std::uint8_t* const to = spare.data() + y * width;
        meanOfTwo(from, from + 1, to, 1);
        meanOfThree(from, from + 1, from + 2, to + 1, width - 2);
        meanOfTwo(from + width - 2, from + width - 1, to + width - 1, 1);
    }
    if (height == 1)
    {
        plane.swap(spare);
        return;
    }
    const std::uint8_t* const from = spare.data();
    std::uint8_t* const to = plane.data();
    const std::size_t last = (height - 1) * width;
    meanOfTwo(from, from + width, to, width);
    // The rows between lie one behind the other.
    meanOfThree(from, from + width, from + 2 * width, to + width, last - width);
    meanOfTwo(from + last - width, from + last, to + last, width);
}

void spread(Plane& plane, Size size, int reach, Plane& spare)
{
    const auto width = std::size_t(size.width);
    const auto height = std::size_t(size.height);
    spare = plane;
    for (std::size_t y = 0; y < height; ++y)
    {
        const std::uint8_t* const from = plane.data() + y * width;
        std::uint8_t* const to = spare.data() + y * width;
        for (std::size_t away = 1; away <= std::size_t(reach) && away < width; ++away)
        {
            raise(to, from + away, width - away);
            raise(to + away, from, width - away);
        }
    }
    plane = spare;
    for (std::size_t away = 1; away <= std::size_t(reach) && away < height; ++away)
    {
        const std::size_t shift = away * width;
        raise(plane.data(), spare.data() + shift, plane.size() - shift);
        raise(plane.data() + shift, spare.data(), plane.size() - shift);
    }
}

} // namespace tavo::devkit
