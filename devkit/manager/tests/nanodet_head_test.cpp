#include "detectors/nanodet_head.h"

#include <gtest/gtest.h>

#include "detectors/coco_classes.h"

namespace tavo::devkit
{
namespace
{

constexpr int kChannels = 80 + 4 * 11;

constexpr int kRows = 3;
constexpr int kColumns = 5;

using Head = std::vector<float>;

// No cell is sure of anything.
Head emptyHead()
{
    return Head(kChannels * kRows * kColumns, -20);
}

float& at(Head& head, int channel, int row, int column)
{
    const int place = (channel * kRows + row) * kColumns + column;
    return head.at(static_cast<size_t>(place));
}

std::vector<Detection> decode(const Head& head, float minScore)
{
    return decodeHead(head, kRows, kColumns, 8, minScore);
}

// Makes the expectation over the bins of a side `first` + 0.5.
void spreadOverTwoBins(Head& head, int side, int first, int row, int column)
{
    for (const int bin : {first, first + 1})
        at(head, 80 + side * 11 + bin, row, column) = 30;
}

TEST(DecodeHead, boxReachesFromTheCellsCentreByExpectedDistances)
{
    Head head = emptyHead();
    at(head, 16, 1, 4) = 2;
    for (int side = 0; side < 4; ++side)
        spreadOverTwoBins(head, side, side + 1, 1, 4);

    const auto found = decode(head, 0.5f);

    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(kCocoClasses[static_cast<size_t>(found[0].classIndex)], "dog");
    EXPECT_NEAR(found[0].score, 0.880797f, 1e-5f);
    // The centre is (36, 12); 1.5, 2.5, 3.5 and 4.5 strides to the left, top, right and bottom.
    EXPECT_NEAR(found[0].box.x, 24, 1e-3f);
    EXPECT_NEAR(found[0].box.y, -8, 1e-3f);
    EXPECT_NEAR(found[0].box.right(), 64, 1e-3f);
    EXPECT_NEAR(found[0].box.bottom(), 48, 1e-3f);
}

} // namespace
} // namespace tavo::devkit
