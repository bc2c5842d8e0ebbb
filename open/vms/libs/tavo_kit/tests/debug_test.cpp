#include <tavo/kit/debug.h>

#include <cerrno>
#include <regex>
#include <string>

#include <gtest/gtest.h>
#include <testing/broken_stream.h>

namespace tavo::kit
{

namespace
{

TEST(Debug, reportsABrokenAssumptionAndGoesOn)
{
    testing::internal::CaptureStderr();
    EXPECT_TRUE(verify(true, "holds"));
    EXPECT_FALSE(verify(false, "1 > 2", "Numbers are wrong."));
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(std::regex_match(
        told,
        std::regex("ASSERTION FAILED: debug_test.cpp:[0-9]+ \\(1 > 2\\) Numbers are wrong.\n")))
        << told;
}

TEST(Debug, aReaderThatIsGoneDoesNoHarm)
{
    const test_support::BrokenStream broken(test_support::BrokenStream::Stream::error);
    errno = ENOENT;
    printLine("nobody reads this");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(broken.hasLeftSignal());
}

} // namespace

} // namespace tavo::kit
