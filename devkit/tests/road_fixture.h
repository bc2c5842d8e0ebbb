#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "agent_handler.h"
#include "dialogs/settings_dialog.h"
#include "library/library.h"
#include "metadata/statistics.h"
#include "records/record_store.h"
#include "records/rest_service.h"
#include "records/utility_provider.h"
#include "server.h"
#include "temporary_folder.h"

namespace tavo::devkit
{

// A server that has the built library loaded and two cameras switched on, as long as it lives.
// Before the first nothing ever moves; all that is told here is of the second, where something
// does.
class RunningHost
{
public:
    RunningHost(const std::string& folder, RecordStore& store);
    ~RunningHost();

    void press(const std::string& button) { m_moving.dialog->press(button); }
    void apply() { m_moving.dialog->apply(); }

    // The visible banners and buttons of the dialog as a user would see it now, a line each.
    [[nodiscard]] std::string dialog();

    // Whether objects came since the last call.
    [[nodiscard]] bool takeObjects();

    // What the library produced so far, a JSON object a line.
    [[nodiscard]] std::string produced();

private:
    struct Camera
    {
        CameraStatistics statistics;
        sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> agent;
        sdk::Ptr<AgentHandler> handler;
        std::unique_ptr<SettingsDialog> dialog;
    };

    void obtain(Camera& camera, int index, RecordStore& store);
    void pushFrames(std::stop_token stop);

    const std::string m_folder;
    Console m_console{/*toStandardError*/ true};
    MetadataSink m_sink;
    std::uint64_t m_objects = 0;
    std::unique_ptr<Library> m_library;
    std::unique_ptr<RestService> m_restService;
    sdk::Ptr<UtilityProvider> m_provider;
    sdk::Ptr<sdk::analytics::IIntegration> m_plugin;
    sdk::Ptr<sdk::analytics::IEngine> m_engine;
    Camera m_still;
    Camera m_moving;
    std::jthread m_frames; // last: it uses all of the above
};

// The whole road on one machine: a cloud and a storage that serve the built application, runtimes
// and one model of the application's own motion detector, and a server's records. The library reads
// its options once in a process, so each test has a process of its own, as ctest gives it one.
class RoadTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    void startServices(bool encryptedModel);
    void startHost();

    // Brings a machine with nothing on it to the first objects, with a user's choice of a runtime.
    void startFromNothing(bool encryptedModel);

    // Fails the test when it is not so within half a minute.
    void waitFor(const char* what, const std::function<bool()>& isSo);
    void waitForDialog(const std::string& text);
    void waitForObjects();

    // JSON text of the host's record.
    [[nodiscard]] std::string serverRecord() const;
    [[nodiscard]] std::string deviceRecord() const;
    [[nodiscard]] std::string settingsRecord() const;

    void switchFault(const std::string& path, const std::string& kind);
    void clearFaults();
    void touchModels(const std::string& updatedAt);

    // All requests to the services so far, a line each.
    [[nodiscard]] std::string requests() const;

    // Process ids of the application's programs of this test.
    [[nodiscard]] std::vector<std::uint32_t> processes(const std::string& program) const;

    [[nodiscard]] std::string inManager(const std::string& name) const
    {
        return "home/tavo_orlix_manager/orlix_manager/" + name;
    }

    // In the folder: a server that the plugin meets for the first time.
    static constexpr char kRecordsFile[] = "records.json";

    static constexpr char kModel[] = "what a model weighs";

    vms_server_plugins::analytics::orlix::TemporaryFolder m_folder;
    std::unique_ptr<RecordStore> m_store = makeMemoryRecordStore();
    std::unique_ptr<Services> m_services;
    std::thread m_server;
    int m_port = 0;
    std::unique_ptr<RunningHost> m_host;
};

} // namespace tavo::devkit
