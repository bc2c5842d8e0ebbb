#include "page/jpeg.h"

#include <gtest/gtest.h>

namespace tavo::devkit
{

namespace
{

// Red on the left, blue on the right.
Picture twoColours(int width, int height)
{
    Picture picture;
    picture.width = width;
    picture.height = height;
    for (int pixel = 0; pixel < width * height; ++pixel)
    {
        const bool isLeft = pixel % width < width / 2;
        for (const int value : {isLeft ? 250 : 0, 0, isLeft ? 0 : 250})
            picture.pixels.push_back(uint8_t(value));
    }
    return picture;
}

} // namespace

TEST(Jpeg, keepsTheColoursAndIsNoWiderThanWanted)
{
    const Picture picture = twoColours(200, 100);
    const struct
    {
        int widthAtMost;
        cv::Size size;
    } cases[] = {{640, {200, 100}}, {200, {200, 100}}, {64, {64, 32}}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.widthAtMost);
        const cv::Mat shown = decodeJpeg(encodeJpeg(picture, c.widthAtMost));
        ASSERT_EQ(shown.size(), c.size);
        const auto left = shown.at<cv::Vec3b>(shown.rows / 2, 4);
        const auto right = shown.at<cv::Vec3b>(shown.rows / 2, shown.cols - 5);
        EXPECT_GT(left[0], 200);
        EXPECT_LT(left[2], 50);
        EXPECT_LT(right[0], 50);
        EXPECT_GT(right[2], 200);
    }
    for (const char* const bytes : {"", "no picture"})
        EXPECT_TRUE(decodeJpeg(bytes).empty()) << bytes;
}

} // namespace tavo::devkit
