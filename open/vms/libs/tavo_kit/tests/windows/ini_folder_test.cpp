#include <tavo/kit/ini_folder.h>

#include <gtest/gtest.h>
#include <testing/scoped_variable.h>

namespace tavo::kit
{

namespace
{

using test_support::ScopedVariable;

TEST(IniFolder, isWhereTheEnvironmentSays)
{
    const ScopedVariable data("LOCALAPPDATA", "C:\\Users\\J\xC3\xB6rg");
    {
        const ScopedVariable folder("TAVO_INI_DIR", "C:\\of the test");
        EXPECT_EQ(iniFolder(), L"C:\\of the test");
    }
    const ScopedVariable noFolder("TAVO_INI_DIR", "");
    EXPECT_EQ(iniFolder(), L"C:\\Users\\J\u00F6rg\\tavo_ini");
    const ScopedVariable noData("LOCALAPPDATA", "");
    EXPECT_EQ(iniFolder(), L"");
}

} // namespace

} // namespace tavo::kit
