#include <gtest/gtest.h>

#include <cstdlib>

#include <opencv2/core.hpp>

namespace tavo::devkit
{
namespace
{

// OpenCV's pool of threads is in a library that the thread sanitizer cannot see into: it would
// report its work as races. Here and in the programs that tests start, one thread does all.
class OneThreadForOpenCv : public testing::Environment
{
public:
    void SetUp() override
    {
        cv::setNumThreads(1);
        setenv("OPENCV_FOR_THREADS_NUM", "1", 1);
    }
};

const auto* const kEnvironment = testing::AddGlobalTestEnvironment(new OneThreadForOpenCv);

} // namespace
} // namespace tavo::devkit
