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
    const ScopedVariable home("HOME", "/home/someone");
    const ScopedVariable config("XDG_CONFIG_HOME", "/config");
    {
        const ScopedVariable folder("TAVO_INI_DIR", "/of the test");
        EXPECT_EQ(iniFolder(), "/of the test");
    }
    const ScopedVariable noFolder("TAVO_INI_DIR", "");
    EXPECT_EQ(iniFolder(), "/config/tavo_ini");
    const ScopedVariable noConfig("XDG_CONFIG_HOME", "");
    EXPECT_EQ(iniFolder(), "/home/someone/.config/tavo_ini");
    const ScopedVariable noHome("HOME", "");
    EXPECT_EQ(iniFolder(), "");
}

} // namespace

} // namespace tavo::kit
