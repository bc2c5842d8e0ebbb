#include <gtest/gtest.h>

#include "detectors/hog_people.h"
#include "detectors/nanodet.h"

namespace tavo::devkit
{

TEST(Detectors, bearWhatIsNoModelAndNoPictureForThem)
{
    EXPECT_THROW(NanoDet("/nonexistent/model.onnx"), cv::Exception);
    HogPeople people;
    for (const auto& [rows, columns] : {std::pair{127, 300}, {128, 64}}) // below its window
        EXPECT_TRUE(people.detect(cv::Mat::zeros(rows, columns, CV_8UC3)).empty());
}

} // namespace tavo::devkit
