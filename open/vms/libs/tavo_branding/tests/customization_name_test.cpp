#include <tavo/branding/customization_name.h>

#include <gtest/gtest.h>

#include "testing/scoped_variable.h"

namespace tavo::branding
{

TEST(CustomizationNameTest, isThatOfTheEnvironmentElseTheDefault)
{
    constexpr char kVariable[] = "TAVO_CUSTOMIZATION";
    for (const std::string name : {"default", "B\xc3\xa4r"})
    {
        const test_support::ScopedVariable variable(kVariable, name);
        EXPECT_EQ(customizationName(), name);
    }
    const test_support::ScopedVariable variable(kVariable, "");
    EXPECT_EQ(customizationName(), "tavovms");
}

} // namespace tavo::branding
