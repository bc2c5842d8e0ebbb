#include <gtest/gtest.h>

#include "remote/file_helpers.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(FileNamesTest, whatTheSystemTakesForSomethingElseIsNone)
{
    for (const char* const text :
         {"D:x.onnx", "m:v2", "a*", "a?", "a|b", "<a>", "\"a\"", "a.", "a ", "NUL", "nul.onnx",
          "con .a.b", "Com1", "lpt9.tgz", "CONOUT$"})
    {
        EXPECT_FALSE(isFileName(text)) << text;
    }
    for (const char* const text :
         {"NULL", "com", "com10", "comb", "a.nul", " a", "a.b.onnx", "{id}"})
        EXPECT_TRUE(isFileName(text)) << text;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
