#include "host_fixture.h"
#include "records/record_store.h"
#include "records/records.h"

namespace tavo::devkit
{

TEST_F(HostTest, findsItsRecordsAgainAfterARestart)
{
    const std::string database = m_folder.file("records.db");
    std::ofstream(m_folder.file("settings.json"))
        << R"({"*": {"loiterDetectionObjectClass": "kept"}})";
    EXPECT_EQ(
        runHost(
            TAVO_PLUGIN_FILE,
            "--seconds 1 --database " + database + " --settings " + m_folder.file("settings.json")),
        3)
        << m_output;
    EXPECT_EQ(runHost(TAVO_PLUGIN_FILE, "--seconds 1 --database " + database), 3) << m_output;

    const auto store = openDatabaseRecordStore(database);
    EXPECT_EQ(store->ids(RecordKind::device), (std::vector<std::string>{defaultDeviceId(0)}));
    const std::string device = store->find(RecordKind::device, defaultDeviceId(0)).value_or("");
    EXPECT_NE(device.find(R"("PluginEnabled":false)"), std::string::npos) << device;
    EXPECT_NE(device.find(R"("Postprocessor":"LineCrossing")"), std::string::npos) << device;
    const std::string settings = store->find(RecordKind::settings, defaultDeviceId(0)).value_or("");
    EXPECT_NE(settings.find(R"("loiterDetectionObjectClass":"kept")"), std::string::npos)
        << settings;
    const std::string server = store->find(RecordKind::server, kServerRecordId).value_or("");
    EXPECT_NE(server.find(R"("pluginVersion":)"), std::string::npos) << server;
}

} // namespace tavo::devkit
