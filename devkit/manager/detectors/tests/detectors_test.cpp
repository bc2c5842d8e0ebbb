#include <gtest/gtest.h>

#include "detectors/coco_classes.h"
#include "detectors/hog_people.h"
#include "detectors/nanodet.h"

namespace tavo::devkit
{
namespace
{

constexpr int kChannels = 80 + 4 * 11;

// A head of 3 rows and 5 columns where no cell is sure of anything.
cv::Mat emptyHead()
{
    const int shape[] = {1, kChannels, 3, 5};
    return cv::Mat(4, shape, CV_32F, cv::Scalar(-20));
}

float& at(cv::Mat& head, int channel, int row, int column)
{
    const int index[] = {0, channel, row, column};
    return head.at<float>(index);
}

// Makes the expectation over the bins of a side `first` + 0.5.
void spreadOverTwoBins(cv::Mat& head, int side, int first, int row, int column)
{
    for (const int bin : {first, first + 1})
        at(head, 80 + side * 11 + bin, row, column) = 30;
}

TEST(DecodeHead, boxReachesFromTheCellsCentreByExpectedDistances)
{
    cv::Mat head = emptyHead();
    at(head, 16, 1, 4) = 2;
    for (int side = 0; side < 4; ++side)
        spreadOverTwoBins(head, side, side + 1, 1, 4);

    const auto found = decodeHead(head, 8, 0.5f);

    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(kCocoClasses[static_cast<size_t>(found[0].classIndex)], "dog");
    EXPECT_NEAR(found[0].score, 0.880797f, 1e-5f);
    // The centre is (36, 12); 1.5, 2.5, 3.5 and 4.5 strides to the left, top, right and bottom.
    EXPECT_NEAR(found[0].box.x, 24, 1e-3f);
    EXPECT_NEAR(found[0].box.y, -8, 1e-3f);
    EXPECT_NEAR(found[0].box.right(), 64, 1e-3f);
    EXPECT_NEAR(found[0].box.bottom(), 48, 1e-3f);
}

TEST(DecodeHead, unsureCellsGiveNothing)
{
    cv::Mat head = emptyHead();
    at(head, 0, 0, 0) = -0.1f;
    EXPECT_TRUE(decodeHead(head, 8, 0.5f).empty());
    EXPECT_EQ(decodeHead(head, 8, 0.4f).size(), 1u);
}

TEST(DecodeHead, otherShapesAreRefused)
{
    const int shape[] = {1, kChannels - 1, 3, 5};
    EXPECT_THROW(
        (void)decodeHead(cv::Mat(4, shape, CV_32F, cv::Scalar(0)), 8, 0.5f), cv::Exception);
}

TEST(NanoDet, aFileThatIsNoModelIsRefused)
{
    EXPECT_THROW(NanoDet("/nonexistent/model.onnx"), cv::Exception);
}

TEST(HogPeople, windowIsShrunkAroundItsCentre)
{
    const Box person = shrinkToPerson({10, 20, 100, 200});
    EXPECT_NEAR(person.x, 28, 1e-3f);
    EXPECT_NEAR(person.y, 40, 1e-3f);
    EXPECT_NEAR(person.width, 64, 1e-3f);
    EXPECT_NEAR(person.height, 160, 1e-3f);
}

TEST(HogPeople, imagesBelowTheWindowHoldNobody)
{
    HogPeople people;
    EXPECT_TRUE(people.detect(cv::Mat::zeros(127, 300, CV_8UC3)).empty());
    EXPECT_TRUE(people.detect(cv::Mat::zeros(128, 64, CV_8UC3)).empty());
}

} // namespace
} // namespace tavo::devkit
