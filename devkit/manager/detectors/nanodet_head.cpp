#include "detectors/nanodet_head.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "detectors/coco_classes.h"

namespace tavo::devkit
{
namespace
{

constexpr int kClassCount = static_cast<int>(kCocoClasses.size());
constexpr int kSides = 4; // left, top, right, bottom
constexpr int kBins = 11; // a side's distance is 0 to 10 strides

// A cell's values lie `step` floats apart, one plane a channel.
struct Cell
{
    const float* values;
    size_t step;

    float operator[](int channel) const { return values[static_cast<size_t>(channel) * step]; }
};

int likeliestClass(Cell cell)
{
    int best = 0;
    for (int i = 1; i < kClassCount; ++i)
    {
        if (cell[i] > cell[best])
            best = i;
    }
    return best;
}

// How far the box reaches from the cell's centre, in strides: the expectation over the bins.
float reach(Cell cell, int side)
{
    const int first = kClassCount + side * kBins;
    float highest = cell[first];
    for (int bin = 1; bin < kBins; ++bin)
        highest = std::max(highest, cell[first + bin]);

    float sum = 0;
    float weighted = 0;
    for (int bin = 0; bin < kBins; ++bin)
    {
        const float weight = std::exp(cell[first + bin] - highest);
        sum += weight;
        weighted += weight * static_cast<float>(bin);
    }
    return weighted / sum;
}

Box boxOfCell(Cell cell, int column, int row, int stride)
{
    const float centreX = static_cast<float>(column) + 0.5f;
    const float centreY = static_cast<float>(row) + 0.5f;
    const auto size = static_cast<float>(stride);
    return Box::between(
        Point{centreX - reach(cell, 0), centreY - reach(cell, 1)} * size,
        Point{centreX + reach(cell, 2), centreY + reach(cell, 3)} * size);
}

} // namespace

std::vector<Detection> decodeHead(
    std::span<const float> head, int rows, int columns, int stride, float minScore)
{
    const size_t plane = static_cast<size_t>(rows) * static_cast<size_t>(columns);
    if (head.size() != plane * (kClassCount + kSides * kBins))
        throw std::invalid_argument("a head of another shape");

    std::vector<Detection> found;
    for (int row = 0; row < rows; ++row)
    {
        for (int column = 0; column < columns; ++column)
        {
            const Cell cell{
                &head
                    [static_cast<size_t>(row) * static_cast<size_t>(columns) +
                     static_cast<size_t>(column)],
                plane};
            const int classIndex = likeliestClass(cell);
            const float score = 1 / (1 + std::exp(-cell[classIndex]));
            if (score >= minScore)
                found.push_back({classIndex, score, boxOfCell(cell, column, row, stride)});
        }
    }
    return found;
}

} // namespace tavo::devkit
