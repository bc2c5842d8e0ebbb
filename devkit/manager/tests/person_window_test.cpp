#include <gtest/gtest.h>

#include "detectors/person_window.h"

namespace tavo::devkit
{

TEST(PersonWindow, isShrunkAroundItsCentre)
{
    const Box person = shrinkToPerson({10, 20, 100, 200});
    EXPECT_NEAR(person.x, 28, 1e-3f);
    EXPECT_NEAR(person.y, 40, 1e-3f);
    EXPECT_NEAR(person.width, 64, 1e-3f);
    EXPECT_NEAR(person.height, 160, 1e-3f);
}

} // namespace tavo::devkit
