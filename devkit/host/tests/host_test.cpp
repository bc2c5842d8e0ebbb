#include "host_fixture.h"

namespace tavo::devkit
{

TEST_F(HostTest, takesTheLibraryThroughItsWholeLife)
{
    EXPECT_EQ(
        runHost(
            TAVO_PLUGIN_FILE,
            "--cameras 2 --seconds 1 --resources --metadata " + m_folder.file("metadata.jsonl")),
        3)
        << m_output;
    EXPECT_EQ(m_output.find("never released"), std::string::npos) << m_output;
    EXPECT_NE(m_output.find("total: frames "), std::string::npos) << m_output;
    EXPECT_EQ(m_output.find("total: frames 0"), std::string::npos) << m_output;

    auto documents = readMetadata();
    ASSERT_EQ(documents["integrationManifest"].size(), 1u);
    EXPECT_NE(documents["integrationManifest"][0].find("\"tavo.orlix\""), std::string::npos);
    EXPECT_EQ(documents["engineManifest"].size(), 1u);
    EXPECT_EQ(documents["engineSettingsModel"].size(), 1u);
    EXPECT_GE(documents["deviceManifest"].size(), 2u);
    EXPECT_GE(documents["settingsModel"].size(), 2u);
}

TEST_F(HostTest, saysWhatIsWrong)
{
    EXPECT_EQ(runHost("/no/such/library.so", "--seconds 1"), 2);
    EXPECT_NE(m_output.find("/no/such/library.so"), std::string::npos) << m_output;
    EXPECT_EQ(runHost(TAVO_HOST_FILE, "--seconds 1"), 2) << "a file that is no library of ours";
}

TEST_F(HostTest, refusesNamesThatNoDialogHas)
{
    struct Case
    {
        std::string option;
        std::string values; // entered into the dialogs
        std::string said; // empty: the name is right
    };
    for (const Case& c : {
             Case{"--press \"*:clearCacheButton@0\"", R"({"*": {"deviceActiveSwitch": true}})", ""},
             Case{"--press \"1:clearCasheButton@0\"", "{}", "no dialog had 'clearCasheButton'"},
             Case{"--press \"7:clearCacheButton@0\"", "{}", "there is no device 7"},
             Case{"", R"({"*": {"loiterObjekt": "car"}})", "no dialog had 'loiterObjekt'"},
         })
    {
        std::ofstream(m_folder.file("settings.json")) << c.values;
        const int exitCode = runHost(
            TAVO_PLUGIN_FILE,
            "--cameras 2 --seconds 0.3 --settings " + m_folder.file("settings.json") + " " +
                c.option);
        EXPECT_EQ(exitCode, c.said.empty() ? 3 : 2) << m_output;
        EXPECT_NE(m_output.find(c.said), std::string::npos) << m_output;
    }
}

} // namespace tavo::devkit
