#include "road_fixture.h"

#include <filesystem>
#include <fstream>

#include <tavo/sdk/analytics/i_engine.h>
#include <testing/platform.h>
#include <testing/programs.h>

#include "common/clock.h"
#include "device_info.h"
#include "dialogs/user_settings.h"
#include "engine_side.h"
#include "media/video_frame.h"
#include "metadata/metadata.h"
#include "records/records.h"

namespace tavo::devkit
{

namespace
{

using namespace std::chrono_literals;

constexpr char kToken[] = "token";
constexpr int kWidth = 320;
constexpr int kHeight = 240;

constexpr int kStillCamera = 0;
constexpr int kMovingCamera = 1;

std::string deviceId()
{
    return defaultDeviceId(kMovingCamera);
}

// A light square that walks over a dark ground.
PicturePtr pictureAt(int step)
{
    auto picture = std::make_shared<Picture>();
    picture->width = kWidth;
    picture->height = kHeight;
    picture->pixels.assign(kWidth * kHeight * 3, 20);
    const int left = step * 4 % (kWidth - 60);
    for (int y = 90; y < 150; ++y)
    {
        for (int x = left; x < left + 60; ++x)
        {
            for (int channel = 0; channel < 3; ++channel)
                picture->pixels[(std::size_t(y) * kWidth + x) * 3 + channel] = 230;
        }
    }
    return picture;
}

SettingValues userValues(const std::string& device)
{
    SettingValues values = UserSettings::defaults().valuesFor(device);
    values["visualise_motion"] = "true";
    return values;
}

} // namespace

RunningHost::RunningHost(const std::string& folder, RecordStore& store) :
    m_folder(folder),
    m_sink(folder + "/produced.jsonl"),
    m_library(std::make_unique<Library>(TAVO_PLUGIN_FILE)),
    m_restService(std::make_unique<RestService>(store))
{
    m_provider =
        sdk::makePtr<UtilityProvider>(readIdentity(store), folder + "/home", *m_restService);
    m_plugin = m_library->createPlugin();
    m_plugin->setUtilityProvider(m_provider.get());
    m_engine = sdk::Ptr<sdk::analytics::IEngine>(m_plugin->obtainEngine().value);
    m_engine->setHandler(sdk::makePtr<EngineHandler>(m_sink, m_console).get());
    obtain(m_still, kStillCamera, store);
    obtain(m_moving, kMovingCamera, store);
    m_frames = std::jthread([this](std::stop_token stop) { pushFrames(stop); });
}

RunningHost::~RunningHost()
{
    m_frames.request_stop();
    m_frames.join();
    EXPECT_EQ(0u, m_still.statistics.totals().objects) << "results of the other camera";
    for (Camera* const camera : {&m_still, &m_moving})
    {
        camera->dialog.reset();
        camera->agent->finalize();
        camera->agent.reset();
    }
    m_engine.reset();
    m_plugin.reset();
    m_restService.reset();
    EXPECT_EQ(0, m_library->liveObjects()) << "objects of the library were never released";
}

void RunningHost::obtain(Camera& camera, int index, RecordStore& store)
{
    const std::string id = defaultDeviceId(index);
    const auto info = sdk::makePtr<DeviceInfo>(*store.find(RecordKind::device, id));
    const sdk::Ptr<sdk::analytics::IDeviceAgent> agent(
        m_engine->doObtainDeviceAgent(info.get()).value);
    camera.agent = sdk::interfaceCast<sdk::analytics::IConsumingDeviceAgent>(agent);
    const MetadataSink::Origin origin{index, id};
    camera.handler = sdk::makePtr<AgentHandler>(
        origin, AgentHandler::Receivers{m_sink, camera.statistics, m_console});
    camera.agent->setHandler(camera.handler.get());
    camera.dialog = std::make_unique<SettingsDialog>(
        camera.agent, origin, userValues(id),
        SettingsDialog::Surroundings{store, m_sink, m_console});
    camera.dialog->apply();
}

void RunningHost::pushFrames(std::stop_token stop)
{
    const PicturePtr still = pictureAt(0);
    for (int step = 0; !stop.stop_requested(); ++step)
    {
        for (Camera* const camera : {&m_still, &m_moving})
        {
            const auto frame = sdk::makePtr<VideoFrame>(
                camera == &m_still ? still : pictureAt(step), wallClockUs());
            sdk::Result<void> result;
            camera->agent->doPushDataPacket(&result, frame.get());
            sdk::Ptr<const sdk::IString> dropped(result.errorMessage);
        }
        std::this_thread::sleep_for(40ms);
    }
}

std::string RunningHost::dialog()
{
    const sdk::Ptr<const sdk::ISettingsResponse> response(
        m_moving.agent->pluginSideSettings().value);
    std::string text;
    for (const std::string& line : describeModel(takeText(response->model())))
        text += line + "\n";
    return text;
}

bool RunningHost::takeObjects()
{
    const std::uint64_t objects = m_moving.statistics.totals().objects;
    return std::exchange(m_objects, objects) != objects;
}

std::string RunningHost::produced()
{
    m_sink.flush();
    std::ifstream file(m_folder + "/produced.jsonl", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void RoadTest::SetUp()
{
    for (const char* const name : {"tmp", "home", "ini", "files"})
        std::filesystem::create_directories(m_folder.path(name));
    test_support::setVariable(test_support::kTemporaryFolderVariable, m_folder.path("tmp"));
    test_support::setVariable("TAVO_INI_DIR", m_folder.path("ini"));
    // A server that the plugin meets for the first time.
    m_folder.write(
        kRecordsFile,
        R"({"cloudSystemId":"system","cloudAuthToken":"token","server":{"id":"s","parameters":{}},)"
        R"("devices":[{"id":")" +
            defaultDeviceId(kStillCamera) + R"(","name":"Yard","parameters":{}},{"id":")" +
            deviceId() + R"(","name":"Gate","parameters":{}}]})");
    seedRecords(*m_store, m_folder.read(kRecordsFile), 2);
}

void RoadTest::TearDown()
{
    m_host.reset();
    EXPECT_TRUE(processes("brunmod").empty());
    EXPECT_TRUE(processes("brund").empty());
    std::string leftBehind;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.path("tmp")))
        leftBehind += entry.path().filename().string() + " ";
    EXPECT_EQ("", leftBehind);
    if (m_services)
        m_services->stop();
    if (m_server.joinable())
        m_server.join();
}

void RoadTest::startServices(bool encryptedModel)
{
    m_folder.write("files/motion.bin", kModel);
    m_folder.write(
        "catalogue.json",
        R"({"models":[{"UUID":"m1","Name":"motion","File":"motion.bin","Encrypted":)" +
            std::string(encryptedModel ? "true" : "false") +
            R"(,"RuntimeArchitectures":["application/x-onnx"],)"
            R"("NamedOutput":[{"Name":"bboxes;0:motion"}]}],)"
            R"("pipelines":[{"uuid":"p1","name":"Motion","models":["m1"],"pipelines":)"
            R"([{"method":"detect","modelUUID":"m1","modelNMS":0.5}]}]})");
    ServicesOptions options;
    options.catalogue = m_folder.path("catalogue.json");
    options.files = m_folder.path("files");
    options.archive = TAVO_APPLICATION_ARCHIVE;
    options.runtimes = TAVO_RUNTIME_PACKAGES;
    options.token = kToken;
    m_services = std::make_unique<Services>(options);
    m_port = m_services->bind();
    ASSERT_GT(m_port, 0);
    m_server = std::thread([this]() { m_services->serve(); });

    const std::string base = "http://127.0.0.1:" + std::to_string(m_port);
    m_folder.write(
        "ini/tavo_orlix_manager_plugin.ini",
        "CloudAPI=" + base + "/dev\nRuntimesStorageURL=" + base +
            "/runtimes\nOrlixManagerStorageURL=" + base + "/apps\nlogVerbosityLevel=2\n");
}

void RoadTest::startHost()
{
    m_host = std::make_unique<RunningHost>(m_folder.path(), *m_store);
}

void RoadTest::startFromNothing(bool encryptedModel)
{
    startServices(encryptedModel);
    startHost();
    waitForDialog("button libraryChoiceGeneric CPU\n");
    m_host->press("libraryChoiceGeneric CPU");
    waitForObjects();
}

void RoadTest::waitFor(const char* what, const std::function<bool()>& isSo)
{
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (!isSo())
    {
        if (std::chrono::steady_clock::now() > end)
        {
            ADD_FAILURE() << what << ": did not come about.\n" << m_host->dialog();
            throw std::runtime_error(what);
        }
        std::this_thread::sleep_for(20ms);
    }
}

void RoadTest::waitForDialog(const std::string& text)
{
    waitFor(text.c_str(), [&]() { return m_host->dialog().find(text) != std::string::npos; });
}

void RoadTest::waitForObjects()
{
    (void)m_host->takeObjects();
    waitFor("objects", [&]() { return m_host->takeObjects(); });
}

std::string RoadTest::serverRecord() const
{
    return m_store->find(RecordKind::server, kServerRecordId).value_or("");
}

std::string RoadTest::settingsRecord() const
{
    return m_store->find(RecordKind::settings, deviceId()).value_or("");
}

std::string RoadTest::deviceRecord() const
{
    return m_store->find(RecordKind::device, deviceId()).value_or("");
}

void RoadTest::switchFault(const std::string& path, const std::string& kind)
{
    httplib::Client client("127.0.0.1", m_port);
    const auto result = client.Post(
        "/control/faults", R"({"path":")" + path + R"(","kind":")" + kind + "\"}",
        "application/json");
    ASSERT_TRUE(result && result->status == 204);
}

void RoadTest::clearFaults()
{
    ASSERT_TRUE(httplib::Client("127.0.0.1", m_port).Delete("/control/faults"));
}

void RoadTest::touchModels(const std::string& updatedAt)
{
    ASSERT_TRUE(
        httplib::Client("127.0.0.1", m_port).Post("/control/updated-at", updatedAt, "text/plain"));
}

std::string RoadTest::requests() const
{
    const auto result = httplib::Client("127.0.0.1", m_port).Get("/control/requests");
    return result ? result->body : "";
}

std::vector<std::uint32_t> RoadTest::processes(const std::string& program) const
{
    return test_support::runningPrograms(
        m_folder.path(inManager("bin/" + test_support::programFile(program))));
}

} // namespace tavo::devkit
