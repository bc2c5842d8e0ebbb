// The steps of a pass, run one pass at a time.

#include "core/runtime_manager_loop.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>

#include "../inference/module_peer.h"
#include "bare_services.h"
#include "device_agent/device_agent.h"
#include "engine_fixture.h"
#include "models/orlix_crypto.h"
#include "remote/cloud_client.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using PassEnd = RuntimeManagerLoop::PassEnd;

class ServiceLadder : public HostAndCloudTest
{
protected:
    ServiceLadder()
    {
        std::filesystem::create_directories(m_folder.path(kWorking));
        log_init(
            m_folder.path(kWorking + "orlix_plugin_start.log"), m_folder.path("main.log"), "",
            false, true, 2);
        startAnew();
    }

    ~ServiceLadder() override { log_close(); }

    // With services of its own, as after a restart of the host.
    void startAnew()
    {
        m_loop.reset();
        m_requests.reset();
        m_services.emplace(
            m_folder.path("home/tavo_orlix_manager"),
            [this]
            {
                m_whenHostIsUsed();
                return sdk::Ptr<sdk::IUtilityProvider>(sdk::addRefToPtr(m_host.get()));
            });
        m_requests.emplace(board());
        detectAccelerator();
        m_loop.emplace(services(), requests(), std::chrono::milliseconds(0));
    }

    PassEnd pass() { return m_loop->runPass(); }
    Services& services() { return *m_services; }
    Requests& requests() { return *m_requests; }
    MessageBoard& board() { return m_services->messageBoard; }
    ManagerInstallState installState()
    {
        return m_services->managerInstallation.managerInstallState();
    }

    std::function<void()> m_whenHostIsUsed = [] {};

    // Of a device that the cloud has configured, and of one that it has not.
    const std::string kDevices =
        R"([{"id":"done","parameters":{"tavoAI":{"models":[],"pipelines":[]}}},)"
        R"({"id":"fresh","parameters":{"tavoAI":{}}},{"id":"not ours","parameters":{}}])";

    static std::string resetOf(const std::string& device)
    {
        return R"({"SystemId":"site-1","ServerId":"server-1","Devices":[")" + device + R"("]})";
    }

private:
    // Beside the processor, whatever the machine.
    void detectAccelerator()
    {
        m_folder.writeProgram("dxrt-cli", "print DXRT v3.2.0");
        const test_support::ScopedVariable path("PATH", test_support::pathWith(m_folder.path()));
        m_services->runtimesManager.initialise(board());
    }

    std::optional<Services> m_services;
    std::optional<Requests> m_requests;
    std::optional<RuntimeManagerLoop> m_loop;
};

TEST_F(ServiceLadder, WithoutATokenNothingElseIsDone)
{
    m_host->setToken("");
    for (int i = 1; i <= 2; ++i)
    {
        EXPECT_EQ(PassEnd::cutShort, pass());
        EXPECT_EQ(i, logged("Checking cloud connection\n"));
        EXPECT_EQ(i, logged("Server/Site not connected to cloud.\n"));
    }
    EXPECT_THAT(m_host->requests(), IsEmpty());
    m_host->setToken("token");
    pass();
    EXPECT_EQ(3, logged("Checking cloud connection\n"));
    pass(); // once connected, no more
    EXPECT_EQ(3, logged("Checking cloud connection\n"));
}

TEST_F(ServiceLadder, AFreshServerIsConfiguredAndItsDevicesReset)
{
    setServerRecord(R"({"id":"server-1","parameters":{}})");
    setDeviceRecords(kDevices);
    m_folder.write(
        kWorking + "orlix_manager/preprocessors/external_preprocessors.json",
        R"({"externalPreprocessors":[{"Name":"Blur"},{"Name":1}]})");
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_THAT(
        takeServerPatches(),
        ElementsAre(
            R"({"parameters":{"tavoAI":{"pluginVersion":"4.6.66","runtimeInformation":[{"mimetypes":[""],"name":""}],"availablePostprocessors":null,"availablePreprocessors":null}}})",
            R"({"parameters":{"tavoAI":{"pluginVersion":"4.6.66","runtimeInformation":[{"mimetypes":[""],"name":""}],"availablePreprocessors":{"Blur":"Blur"},"availablePostprocessors":{"LineCrossing":"Line Crossing","Object Counting":"Object Counting","Illegal Dumping":"Illegal Dumping","LoiteringDetection":"Loitering Detection"},"siteID":"site-1"}}})"));
    EXPECT_THAT(m_cloud.takeResets(), ElementsAre(resetOf("fresh")));
    EXPECT_EQ(0, logged("Checking installation\n"));
}

TEST_F(ServiceLadder, OnlyAnotherSiteResetsTheDevices)
{
    const char* const kUnchanged = "Site ID didn't change\n";
    const char* const kUnsaved = "Site ID not saved in parameters yet. Assuming unchanged.\n";
    const struct
    {
        const char* server;
        std::optional<std::string> site;
        const char* log;
        std::string reset; // device
    } kCases[] = {
        {R"({"parameters":{"tavoAI":{"siteID":"{site-1}"}}})", "site-1", kUnchanged, ""},
        {R"({"parameters":{"tavoAI":{"siteID":"site-0"}}})", "site-1",
         "Detected site ID change! site-0 -> site-1\n", "done"},
        {R"({"parameters":{"tavoAI":{"siteID":1}}})", "site-1", kUnsaved, ""},
        {R"({"parameters":{"tavoAI":[]}})", "site-1", kUnsaved, ""},
        {R"({"parameters":{"tavoAI":{"siteID":"site-0"}}})", std::nullopt,
         "Could not get the server cloud ID.\n", ""},
        {R"({"parameters":[]})", "site-1", "First time server is being configured.", "fresh"}};
    setDeviceRecords(kDevices);
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.server);
        setServerRecord(c.server);
        m_host->setSite(c.site);
        startAnew(); // the state of the cloud is an engine's for life
        const int before = logged(c.log);
        EXPECT_EQ(PassEnd::cutShort, pass());
        EXPECT_EQ(before + 1, logged(c.log));
        const auto expected =
            c.reset.empty() ? std::vector<std::string>{} : std::vector{resetOf(c.reset)};
        EXPECT_EQ(expected, m_cloud.takeResets());
    }
    EXPECT_EQ(1, logged("Warning! Could not get cloud system ID"));
    EXPECT_EQ(std::ssize(kCases) - 2, logged("Checking installation\n"));
}

// Until there is one nobody is reset, and what the server is to know is not lost.
TEST_F(ServiceLadder, AnAnswerThatIsNoRecordIsAskedForAgain)
{
    setDeviceRecords(kDevices);
    int asked = 0;
    for (const char* const answer :
         {"<html>Bad gateway</html>", R"({"error":"401","errorString":"Unauthorized"})", "[]", "7",
          "null"})
    {
        SCOPED_TRACE(answer);
        setServerRecord(answer);
        EXPECT_EQ(PassEnd::cutShort, pass());
        EXPECT_EQ(++asked, logged("Error: Failed to get server parameters from API.\n"));
        EXPECT_EQ(0, logged("Checking installation\n"));
    }
    EXPECT_THAT(takeServerPatches(), IsEmpty());
    EXPECT_THAT(m_cloud.takeResets(), IsEmpty());
    setServerRecord(R"({"parameters":{"tavoAI":{"siteID":"site-1"}}})");
    pass();
    EXPECT_EQ(2u, takeServerPatches().size());
    pass(); // once
    EXPECT_THAT(takeServerPatches(), IsEmpty());
    EXPECT_THAT(m_cloud.takeResets(), IsEmpty());
}

TEST_F(ServiceLadder, AFailedInstallationIsClearedOnDemand)
{
    pass();
    EXPECT_EQ(ManagerInstallState::failed, installState());
    m_folder.write(kWorking + "orlix_manager/cache/keys/id.tvc", "key");
    requests().requestClearCache();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_TRUE(board().snapshot().empty());
    EXPECT_FALSE(m_folder.has(kWorking + "orlix_manager/cache"));
    EXPECT_EQ(ManagerInstallState::notInstalled, installState());
    EXPECT_EQ(PassEnd::cutShort, pass()); // tries again
    EXPECT_EQ(ManagerInstallState::failed, installState());
    installManager();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(ManagerInstallState::installed, installState());
}

TEST_F(ServiceLadder, AmongSeveralRuntimesTheUserChooses)
{
    installManager();
    RuntimesManager& runtimes = services().runtimesManager;
    pass();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(RuntimeStatus::waitingForChoice, runtimes.status());
    EXPECT_THAT(runtimes.availableRuntimes(), ::testing::IsSupersetOf({"DEEPX", "Generic CPU"}));
    EXPECT_THAT(m_host->requests("GET /rest/v4/devices?"), IsEmpty());
    takeServerPatches();

    runtimes.chooseRuntime("");
    EXPECT_EQ(PassEnd::complete, pass()); // installs nothing, and the pass goes on
    EXPECT_THAT(takeServerPatches(), IsEmpty());

    // A choice that fails is saved and told all the same.
    runtimes.chooseRuntime("Generic CPU");
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(RuntimeStatus::installFailed, runtimes.status());
    EXPECT_EQ("Generic CPU", m_folder.read(kBin + "installed_runtime.txt"));
    EXPECT_THAT(
        takeServerPatches(),
        ElementsAre(
            R"({"parameters":{"tavoAI":{"runtimeInformation":[{"mimetypes":["application/x-onnx"],"name":"Generic CPU"}]}}})"));

    // Then only a new selection leads on: not even a request is served.
    requests().requestClearCache();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(1u, board().snapshot().count("CLEAR_CACHE"));
    services().runtimesManager.setStatus(RuntimeStatus::reselectRequested);
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(RuntimeStatus::notSelected, runtimes.status());
}

// The machine is in service.
class DeviceParameters : public ServiceLadder
{
protected:
    DeviceParameters()
    {
        EXPECT_TRUE(comesIntoService());
        m_cloud.takeResets();
        takeServerPatches();
    }

    bool comesIntoService()
    {
        installManager();
        installRuntime();
        for (int passes = 0; passes < 10; ++passes)
        {
            if (pass() == PassEnd::complete)
                return true;
        }
        return false;
    }

    std::size_t listRequests() const
    {
        return m_host->requests("GET /rest/v4/devices?serverId=server-1").size();
    }
};

TEST_F(DeviceParameters, APassWithoutNewsIsOneRequestAndOneComparison)
{
    EXPECT_EQ(1, logged("Parsing devices parameters: 1 1 0\n"));
    const std::size_t requests = m_host->requests().size();
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(requests + 2, m_host->requests().size());
    EXPECT_EQ(1, logged("Parsing devices parameters:"));
    setDeviceRecords("[ ]"); // compared as a text
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(1, logged("Parsing devices parameters: 1 0 0\n"));
}

// As a retry does, which waits for one.
TEST_F(DeviceParameters, AListThatIsNoneIsParsedAgain)
{
    requests().requestRetryDownloads();
    for (const char* const answer : {R"({"error":"503"})", "7", "<html>", "<html>"})
    {
        setDeviceRecords(answer);
        EXPECT_EQ(PassEnd::cutShort, pass()) << answer;
    }
    EXPECT_EQ(2, logged("Error: Failed to parse devices parameters JSON.\n"));
    setDeviceRecords("[]"); // as it was applied last
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(PassEnd::complete, pass());
        EXPECT_EQ(1, logged("Parsing devices parameters: 0 0 0\n"));
    }
    setDeviceRecords("<html>");
    EXPECT_EQ(PassEnd::cutShort, pass());
    const int before = logged("Parsing devices parameters: 1 0 0\n");
    setDeviceRecords("[]");
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(before, logged("Parsing devices parameters: 1 0 0\n"));
}

TEST_F(DeviceParameters, WhatUsersAskForIsServedBeforeTheListIsRead)
{
    requests().requestReset("device-7");
    const std::size_t before = listRequests();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(before, listRequests());
    EXPECT_TRUE(board().snapshot().empty());
    EXPECT_THAT(m_cloud.takeResets(), ElementsAre(HasSubstr(R"("Devices":["device-7"])")));
    EXPECT_EQ(PassEnd::complete, pass()); // served once
    EXPECT_EQ(before + 1, listRequests());
    EXPECT_THAT(m_cloud.takeResets(), IsEmpty());

    setDeviceRecords(kDevices);
    board().postMessage("w", "of before", MessageType::warning);
    requests().requestReset("");
    EXPECT_EQ(0u, board().snapshot().count("w"));
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_THAT(m_cloud.takeResets(), ElementsAre(resetOf("done")));

    requests().requestRetryDownloads();
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(1, logged("Clearing failed model downloads."));
    EXPECT_THAT(board().snapshot(), IsEmpty());
}

// Nobody watches a camera, so only what is asked for here stops it before the pass ends.
TEST_F(DeviceParameters, WhatIsReplacedDoesNotRun)
{
    OrlixManagerInterface& manager = services().managerInterface;
    std::atomic<bool> hadRuntime{false};
    test::ModulePeer application(m_folder.path()); // that passes the command to stop on
    application.replyBy(
        [&]()
        {
            hadRuntime = m_folder.has(kBin + kRuntimeLibrary);
            m_folder.write(kBin + "end", "");
            return std::string();
        });
    for (const bool clearCache : {false, true})
    {
        SCOPED_TRACE(clearCache);
        ASSERT_TRUE(comesIntoService());
        m_folder.writeProgram(kBin + kManagerExecutable, "wait-for end\nremove end");
        manager.start({}, m_folder.path("orlix_plugin.sock"));
        ASSERT_EQ(ManagerState::Running, manager.state());
        board().postMessage("w", "of before", MessageType::warning);
        board().postMessage("RUNTIME_DOCUMENTATION_Generic CPU", "link", MessageType::message);
        EXPECT_EQ("Generic CPU", services().runtimesManager.getInstalledRuntimeName());
        if (clearCache)
            requests().requestClearCache();
        else
            services().runtimesManager.setStatus(RuntimeStatus::reselectRequested);
        EXPECT_EQ(PassEnd::cutShort, pass());
        EXPECT_EQ(ManagerState::Stopped, manager.state());
        EXPECT_TRUE(hadRuntime.exchange(false)) << "for as long as it could use it";
        EXPECT_FALSE(m_folder.has(kBin + kRuntimeLibrary));
        EXPECT_EQ(!clearCache, m_folder.has(kBin + kManagerExecutable));
        EXPECT_EQ(clearCache ? 0u : 1u, board().snapshot().count("w"));
        EXPECT_TRUE(!clearCache || board().snapshot().empty());
        EXPECT_EQ(clearCache ? 1 : 0, logged("Clearing failed model downloads."));
        if (!clearCache)
            continue;
        EXPECT_EQ("", services().runtimesManager.getInstalledRuntimeName());
        const int applied = logged("Parsing devices parameters:");
        EXPECT_TRUE(comesIntoService());
        EXPECT_EQ(applied + 1, logged("Parsing devices parameters:")) << "all is done anew";
    }
}

TEST_F(DeviceParameters, ARemovalThatFailsIsToldAndTriedAgain)
{
    const auto isTold = [this] { return board().snapshot().contains("CLEAR_CACHE_FAILED"); };
    const auto tries = [this] { return logged("Removing Orlix Manager at"); };
    std::filesystem::remove(m_folder.path(kBin + kRuntimeLibrary));
    m_folder.write(kBin + kRuntimeLibrary + "/kept", ""); // which is no file to be removed
    const int looks = logged("Checking installation\n");
    requests().requestClearCache();
    for (int i = 0; i < 3; ++i) // within a second
        EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_TRUE(isTold());
    EXPECT_EQ(looks, logged("Checking installation\n")) << "nothing is installed beside it";
    EXPECT_TRUE(test::comesTrue([&] { return pass(), !isTold(); }));
    EXPECT_EQ(2, tries());
    EXPECT_EQ(RuntimeStatus::notSelected, services().runtimesManager.status());
    EXPECT_LT(looks, logged("Checking installation\n"));
}

TEST_F(DeviceParameters, ARemovalThatFailsIsGoneOnWithAfterARestart)
{
    std::filesystem::remove(m_folder.path(kBin + kRuntimeLibrary));
    m_folder.write(kBin + kRuntimeLibrary + "/kept", ""); // which is no file to be removed
    requests().requestClearCache();
    pass();
    startAnew();
    installManager(); // as if it had been left
    pass();
    EXPECT_FALSE(m_folder.has(kBin + kManagerExecutable));
    startAnew();
    installManager();
    pass();
    EXPECT_TRUE(m_folder.has(kBin + kManagerExecutable));
}

TEST_F(DeviceParameters, DevicesOfTheWrongKindHarmNobody)
{
    const struct
    {
        const char* records;
        std::size_t resets;
    } kCases[] = {
        {R"([null,1,"a",[],{}])", 0},
        {R"([{"id":"a","parameters":[]}])", 0},
        {R"([{"id":"a","parameters":{"tavoAI":7}}])", 1},
        {R"([{"id":"a","parameters":{"tavoAI":{"models":[]}}}])", 1},
        {R"([{"id":7,"parameters":{"tavoAI":{}}},{"parameters":{"tavoAI":{}}}])", 0},
        {R"([{"id":"a","parameters":{"tavoAI":{"models":7,"pipelines":null}}}])", 0}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.records);
        setDeviceRecords(c.records);
        EXPECT_EQ(PassEnd::complete, pass());
        EXPECT_EQ(c.resets, m_cloud.takeResets().size());
    }
}

// The machine is in service for one camera that is switched on, and has two models.
class CameraInService : public DeviceParameters
{
protected:
    CameraInService()
    {
        m_folder.write("model", kBody);
        m_digest = "md5=" + base64Encode(fileMd5(m_folder.path("model")).value());
        m_storage.handlers.Get(
            "/.*",
            [this](const httplib::Request& request, httplib::Response& response)
            {
                if (!m_storageHasModels)
                    response.status = 404;
                response.set_header("Content-Digest", m_digest);
                response.set_content(kBody, "application/octet-stream");
                if (request.path == "/a")
                    ++m_downloadsOfA;
            });
        m_storage.start();
        m_folder.writeProgram(kBin + kManagerExecutable, "wait-for end\nremove end");
        m_application.replyBy(
            [this]
            {
                m_folder.write(kBin + "end", "");
                return std::string();
            });
        m_agentServices.provider = sdk::addRefToPtr<sdk::IUtilityProvider>(m_host.get());
        const auto device = sdk::makePtr<FakeDevice>(kDevice);
        const std::size_t index = services().deviceAgents.reserve(kDevice);
        m_agent = sdk::makePtr<DeviceAgent>(device.get(), index, &m_agentServices, m_folder.path());
        services().deviceAgents.add(index, m_agent.get());
        switchCamera(*m_agent, "true");
    }

    ~CameraInService() override
    {
        services().managerInterface.stop({});
        services().deviceAgents.remove(0);
    }

    // The change stamp of the file that the cloud has for the first model.
    void setModels(const std::string& stampOfA)
    {
        setDeviceRecords(
            "[" +
            deviceRecord(
                kDevice,
                modelRecord("a", m_storage.url("/a"), kBody.size(), stampOfA) + "," +
                    modelRecord("b", m_storage.url("/b"), kBody.size())) +
            "]");
    }

    ManagerState state() { return services().managerInterface.state(); }
    void takeSocket()
    {
        EXPECT_TRUE(services().socketClaim.wait(services().pluginSocketPath, {}, [] {}));
    }

    const std::string kBody = "weights";
    const std::string kDevice = "00010203-0405-0607-0809-0a0b0c0d0e0f";
    const std::string kCache = kWorking + "orlix_manager/cache/unencrypted/";
    std::string m_digest;
    std::atomic<int> m_downloadsOfA{0};
    std::atomic<bool> m_storageHasModels{true};
    LoopbackHttpServer m_storage;
    test::ModulePeer m_application{m_folder.path()}; // that passes the command to stop on
    BareServices m_agentServices{m_folder.path()};
    sdk::Ptr<DeviceAgent> m_agent;
};

// What the host is told, too. As long as another host has the socket no application may be started.
TEST_F(CameraInService, TheApplicationRunsWhileItIsSwitchedOn)
{
    std::string told;
    const auto passTells = [&]
    {
        EXPECT_EQ(PassEnd::complete, pass());
        for (const std::string& patch : takeServerPatches())
            told += patch.substr(patch.find("runtimeActive"));
        return std::exchange(told, "");
    };
    const std::string active = R"(runtimeActive":true}}})";
    const std::string inactive = R"(runtimeActive":false}}})";
    EXPECT_EQ("", passTells());
    EXPECT_EQ(ManagerState::Stopped, state());
    takeSocket();
    EXPECT_EQ(active, passTells());
    EXPECT_EQ(ManagerState::Running, state());
    setModels("2026-11-03T10:00:00");
    EXPECT_EQ("", passTells());
    EXPECT_EQ("", passTells());
    EXPECT_EQ(1, logged("Settings change detected. Restarting runtime\n"));
    for (const bool isOn : {false, true})
    {
        switchCamera(*m_agent, isOn ? "true" : "false");
        EXPECT_EQ(isOn ? active : inactive, passTells());
        EXPECT_EQ(isOn ? ManagerState::Running : ManagerState::Stopped, state());
        EXPECT_EQ("", passTells());
    }
    EXPECT_EQ(3, logged("Orlix Manager started\n"));
    EXPECT_EQ(2, logged("Orlix Manager stopped with exit code 0\n"));

    // One that may not be started again.
    ini().restartOrlixManagerOnCrash = false;
    services().managerInterface.stop({});
    m_folder.writeProgram(kBin + kManagerExecutable, "exit 7");
    EXPECT_EQ(active, passTells());
    std::string all;
    EXPECT_TRUE(test::comesTrue(
        [&]
        {
            all += passTells();
            return logged("Orlix Manager crash detected. Not restarting.\n") == 3;
        }));
    EXPECT_EQ(inactive, all);
}

// Once: what cannot be had is the user's to ask for.
TEST_F(CameraInService, FetchesWhatTheApplicationLacks)
{
    takeSocket();
    setModels("2026-11-03T10:00:00");
    EXPECT_EQ(PassEnd::complete, pass());
    for (const bool isThere : {true, false})
    {
        SCOPED_TRACE(isThere);
        services().managerInterface.stop({});
        std::filesystem::remove(m_folder.path(kCache + "a"));
        m_storageHasModels = isThere;
        const int applied = logged("Parsing devices parameters:");
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(PassEnd::complete, pass());
        EXPECT_EQ(isThere ? ManagerState::Running : ManagerState::Failed, state());
        EXPECT_EQ(applied + 1, logged("Parsing devices parameters:"));
    }
}

TEST_F(CameraInService, GoesOnAsItWasWhileTheSettingsCannotBeWritten)
{
    takeSocket();
    setModels("2026-11-03T10:00:00");
    EXPECT_EQ(PassEnd::complete, pass());
    const int applied = logged("Parsing devices parameters:");
    const std::string settings = m_folder.path(kWorking + "orlix_manager/etc/settings.json");
    std::filesystem::remove(settings);
    std::filesystem::create_directory(settings);
    services().runtimesManager.saveInstalledRuntimeName("Generic CPU"); // asks for a new file
    setModels("2026-11-04T10:00:00"); // and this for a restart
    const auto isTold = [this] { return board().snapshot().contains("SETTINGS_NOT_WRITTEN"); };
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_TRUE(isTold());
    EXPECT_EQ(applied + 1, logged("Parsing devices parameters:"));
    EXPECT_EQ(1, logged("Warning! Could not write runtime settings"));
    EXPECT_EQ(0, logged("Restarting runtime\n"));
    std::filesystem::remove(settings);
    EXPECT_TRUE(test::comesTrue([&] { return pass(), !isTold(); }));
    EXPECT_TRUE(std::filesystem::is_regular_file(settings));
    EXPECT_EQ(1, logged("Restarting runtime\n"));
}

TEST_F(CameraInService, ARestartThatIsDueOutlivesAPassThatThrows)
{
    takeSocket();
    setModels("2026-11-03T10:00:00");
    EXPECT_EQ(PassEnd::complete, pass());
    ASSERT_EQ(ManagerState::Running, state());
    m_whenHostIsUsed = [this] // for the second model, when the first has come
    {
        if (m_downloadsOfA == 2)
            throw std::runtime_error("host");
    };
    setModels("2026-11-04T10:00:00");
    EXPECT_THROW(pass(), std::runtime_error);
    m_whenHostIsUsed = [] {};
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(2, m_downloadsOfA);
    EXPECT_EQ(1, logged("Settings change detected. Restarting runtime\n"));
    EXPECT_EQ(ManagerState::Running, state());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
