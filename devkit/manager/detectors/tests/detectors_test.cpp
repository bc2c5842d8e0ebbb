#include <gtest/gtest.h>

#include "detectors/hog_people.h"
#include "detectors/nanodet.h"

namespace tavo::devkit
{
namespace
{

TEST(NanoDet, aFileThatIsNoModelIsRefused)
{
    EXPECT_THROW(NanoDet("/nonexistent/model.onnx"), cv::Exception);
}

TEST(HogPeople, imagesBelowTheWindowHoldNobody)
{
    HogPeople people;
    EXPECT_TRUE(people.detect(cv::Mat::zeros(127, 300, CV_8UC3)).empty());
    EXPECT_TRUE(people.detect(cv::Mat::zeros(128, 64, CV_8UC3)).empty());
}

} // namespace
} // namespace tavo::devkit
