#include <tavo/kit/debug.h>

#include <regex>
#include <string>

#include <gtest/gtest.h>

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

} // namespace

} // namespace tavo::kit
