#include <cstdio>
#include <fstream>
#include <map>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "json.h"
#include "record_store.h"
#include "records.h"
#include "temp_folder.h"
#include "video_writer.h"

// The program itself with the built library. No application is there to be had, so that all frames
// are ignored and no result comes back.

namespace tavo::devkit
{

class HostTest : public testing::Test
{
protected:
    HostTest()
    {
        VideoWriter video(m_folder.file("video.mp4"), 64, 48);
        const std::vector<uint8_t> pixels(64 * 48 * 3, 128);
        for (int i = 0; i < 10; ++i)
            video.write(pixels.data(), 64, 48, 64 * 3, i * 100'000);
        video.finish();

        // Nobody listens there, so that nothing is fetched from anywhere.
        std::ofstream(m_folder.file("tavo_orlix_manager_plugin.ini"))
            << "CloudAPI=http://127.0.0.1:1\nOrlixManagerStorageURL=http://127.0.0.1:1\n"
               "RuntimesStorageURL=http://127.0.0.1:1\n";
    }

    // Runs the host to its end with its own sockets and options file. Gives its exit code.
    int runHost(const std::string& plugin, const std::string& options)
    {
        const std::string command = "TMPDIR='" + m_folder.file("") + "' TAVO_INI_DIR='" +
            m_folder.file("") + "' '" TAVO_HOST_FILE "' --plugin '" + plugin + "' --work-dir '" +
            m_folder.file("home") + "' --video '" + m_folder.file("video.mp4") + "' " + options +
            " 2>&1";
        m_output.clear();
        FILE* const pipe = popen(command.c_str(), "re");
        if (!pipe)
            return -1;
        char buffer[4096];
        while (const size_t size = std::fread(buffer, 1, sizeof(buffer), pipe))
            m_output.append(buffer, size);
        const int status = pclose(pipe);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // The documents of each kind that the library produced, in order.
    std::map<std::string, std::vector<std::string>> readMetadata() const
    {
        std::map<std::string, std::vector<std::string>> documents;
        std::ifstream file(m_folder.file("metadata.jsonl"));
        for (std::string line; std::getline(file, line);)
        {
            const JsonDocument document = parseJson(line);
            yyjson_val* const root = yyjson_doc_get_root(document.get());
            documents[stringMember(root, "kind")].push_back(toText(yyjson_obj_get(root, "value")));
        }
        return documents;
    }

    TempFolder m_folder;
    std::string m_output;
};

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

TEST_F(HostTest, findsItsRecordsAgainAfterARestart)
{
    const std::string database = m_folder.file("records.db");
    std::ofstream(m_folder.file("settings.json")) << R"({"*": {"loiterObject": "kept"}})";
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
    EXPECT_NE(settings.find(R"("loiterObject":"kept")"), std::string::npos) << settings;
    const std::string server = store->find(RecordKind::server, kServerRecordId).value_or("");
    EXPECT_NE(server.find(R"("pluginVersion":)"), std::string::npos) << server;
}

TEST_F(HostTest, saysWhatIsWrong)
{
    EXPECT_EQ(runHost("/no/such/library.so", "--seconds 1"), 2);
    EXPECT_NE(m_output.find("/no/such/library.so"), std::string::npos) << m_output;
    EXPECT_EQ(runHost(TAVO_HOST_FILE, "--seconds 1"), 2) << "a file that is no library of ours";
}

} // namespace tavo::devkit
