#include "core/ini.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "core/deployment.h"
#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class IniFile : public ::testing::Test
{
protected:
    IniFile() { setenv("TAVO_INI_DIR", m_folder.path().c_str(), 1); }
    ~IniFile() override { unsetenv("TAVO_INI_DIR"); }

    TemporaryFolder m_folder;
};

TEST_F(IniFile, WithoutItAllOptionsHaveTheirDefaults)
{
    const Ini ini;
    EXPECT_FALSE(ini.enableOutput);
    EXPECT_FALSE(ini.logToConsole);
    EXPECT_TRUE(ini.logToFile);
    EXPECT_FALSE(ini.sendFramesOverride);
    EXPECT_TRUE(ini.restartOrlixManagerOnCrash);
    EXPECT_FALSE(ini.cacheRuntimeArchives);
    EXPECT_FALSE(ini.enableAmbarellaIntegration);
    EXPECT_STREQ(kDefaultCloudApi, ini.CloudAPI);
    EXPECT_TRUE(std::string(ini.CloudAPI).ends_with("/dev"));
    EXPECT_STREQ("", ini.DeviceAdminOverride);
    EXPECT_STREQ("", ini.RuntimesStorageURL);
    EXPECT_STREQ("", ini.OrlixManagerStorageURL);
    EXPECT_STREQ("", ini.WorkingDirectory);
    EXPECT_EQ(1, ini.logVerbosityLevel);
    EXPECT_EQ(5, ini.modelDownloadSeconds);
    EXPECT_EQ(3, ini.HTTPRequestTimeout);
}

TEST_F(IniFile, SetsEveryOptionUnderItsName)
{
    m_folder.write(
        "tavo_orlix_manager_plugin.ini",
        "enableOutput=true\nlogToConsole=true\nlogToFile=false\nsendFramesOverride=true\n"
        "restartOrlixManagerOnCrash=false\ncacheRuntimeArchives=true\n"
        "enableAmbarellaIntegration=true\nCloudAPI=http://a\nDeviceAdminOverride=http://b\n"
        "RuntimesStorageURL=http://c\nOrlixManagerStorageURL=http://d\nWorkingDirectory=/e\n"
        "logVerbosityLevel=2\nmodelDownloadSeconds=50\nHTTPRequestTimeout=30\n");
    const Ini ini;
    EXPECT_TRUE(ini.enableOutput);
    EXPECT_TRUE(ini.logToConsole);
    EXPECT_FALSE(ini.logToFile);
    EXPECT_TRUE(ini.sendFramesOverride);
    EXPECT_FALSE(ini.restartOrlixManagerOnCrash);
    EXPECT_TRUE(ini.cacheRuntimeArchives);
    EXPECT_TRUE(ini.enableAmbarellaIntegration);
    EXPECT_STREQ("http://a", ini.CloudAPI);
    EXPECT_STREQ("http://b", ini.DeviceAdminOverride);
    EXPECT_STREQ("http://c", ini.RuntimesStorageURL);
    EXPECT_STREQ("http://d", ini.OrlixManagerStorageURL);
    EXPECT_STREQ("/e", ini.WorkingDirectory);
    EXPECT_EQ(2, ini.logVerbosityLevel);
    EXPECT_EQ(50, ini.modelDownloadSeconds);
    EXPECT_EQ(30, ini.HTTPRequestTimeout);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
