#include "host_fixture.h"
#include "records/record_store.h"
#include "records/records.h"

namespace tavo::devkit
{

TEST_F(HostTest, takesTheLibraryThroughItsWholeLife)
{
    EXPECT_EQ(
        runHost("--cameras 2 --seconds 1 --resources --metadata " + m_folder.path("lines")), 3)
        << m_output;
    EXPECT_FALSE(hasPrinted("never released")) << m_output;
    EXPECT_TRUE(hasPrinted("total: frames ")) << m_output;
    EXPECT_FALSE(hasPrinted("total: frames 0")) << m_output;

    const std::string lines = m_folder.read("lines");
    const struct
    {
        const char* kind;
        int least;
    } kKinds[] = {
        {"integrationManifest", 1},
        {"engineManifest", 1},
        {"engineSettingsModel", 1},
        {"deviceManifest", 2},
        {"settingsModel", 2}};
    for (const auto& [kind, least] : kKinds)
    {
        const std::string head = R"("kind":")" + std::string(kind) + '"';
        int count = 0;
        for (std::size_t at = 0; (at = lines.find(head, at)) != std::string::npos; ++at)
            ++count;
        EXPECT_GE(count, least) << kind << lines;
    }
}

TEST_F(HostTest, findsItsRecordsAgainAfterARestart)
{
    const std::string database = m_folder.path("records.db");
    m_folder.write("settings.json", R"({"*": {"loiterDetectionObjectClass": "kept"}})");
    const std::string run = "--seconds 1 --database " + database;
    EXPECT_EQ(runHost(run + " --settings " + m_folder.path("settings.json")), 3) << m_output;
    EXPECT_EQ(runHost(run), 3) << m_output;

    const auto store = openDatabaseRecordStore(database);
    EXPECT_EQ(store->ids(RecordKind::device), (std::vector<std::string>{defaultDeviceId(0)}));
    const struct
    {
        RecordKind kind;
        std::string id;
        const char* part;
    } kParts[] = {
        {RecordKind::device, defaultDeviceId(0), R"("PluginEnabled":false)"},
        {RecordKind::device, defaultDeviceId(0), R"("Postprocessor":"LineCrossing")"},
        {RecordKind::settings, defaultDeviceId(0), R"("loiterDetectionObjectClass":"kept")"},
        {RecordKind::server, kServerRecordId, R"("pluginVersion":)"},
    };
    for (const auto& c : kParts)
    {
        const std::string record = store->find(c.kind, c.id).value_or("");
        EXPECT_NE(record.find(c.part), std::string::npos) << record;
    }
}

TEST_F(HostTest, saysWhatIsWrong)
{
    EXPECT_EQ(runHost("--seconds 1", "/no/such/library.so"), 2);
    EXPECT_TRUE(hasPrinted("/no/such/library.so")) << m_output;
    EXPECT_EQ(runHost("--seconds 1", TAVO_HOST_FILE), 2) << "a file that is no library of ours";
}

TEST_F(HostTest, refusesNamesThatNoDialogHas)
{
    const struct
    {
        std::string option;
        std::string values; // entered into the dialogs
        std::string said; // empty: the name is right
    } kCases[] = {
        {"--press \"*:clearCacheButton@0\"", R"({"*": {"deviceActiveSwitch": true}})", ""},
        {"--press \"1:clearCasheButton@0\"", "{}", "no dialog had 'clearCasheButton'"},
        {"--press \"7:clearCacheButton@0\"", "{}", "there is no device 7"},
        {"", R"({"*": {"loiterObjekt": "car"}})", "no dialog had 'loiterObjekt'"},
    };
    for (const auto& c : kCases)
    {
        m_folder.write("settings.json", c.values);
        const int exitCode = runHost(
            "--cameras 2 --seconds 0.3 --settings " + m_folder.path("settings.json") + " " +
            c.option);
        EXPECT_EQ(exitCode, c.said.empty() ? 3 : 2) << m_output;
        EXPECT_TRUE(hasPrinted(c.said)) << m_output;
    }
}

} // namespace tavo::devkit
