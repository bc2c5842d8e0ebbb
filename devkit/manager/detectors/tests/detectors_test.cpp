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
