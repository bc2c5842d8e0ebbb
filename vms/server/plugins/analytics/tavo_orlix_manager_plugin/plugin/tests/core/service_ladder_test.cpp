// The steps of a pass that bring the machine into service, run one pass at a time.

#include "core/runtime_manager_loop.h"

#include "engine_fixture.h"
#include "remote/cloud_client.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using PassEnd = RuntimeManagerLoop::PassEnd;

class ServiceLadder : public EngineTest
{
protected:
    PassEnd pass() { return m_loop.runPass(); }

    // Passes until the first that gets through.
    PassEnd serve(int passes)
    {
        PassEnd end = PassEnd::cutShort;
        for (int i = 0; i < passes && end == PassEnd::cutShort; ++i)
            end = pass();
        return end;
    }

    RuntimeManagerLoop m_loop{engine(), std::chrono::milliseconds(0)};
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
    setDeviceRecords(R"([{"id":"a","parameters":{"tavoAI":{}}},{"id":"b"}])");
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_THAT(
        takeServerPatches(),
        ElementsAre(
            R"({"parameters":{"tavoAI":{"pluginVersion":"4.6.66","runtimeInformation":[{"mimetypes":[""],"name":""}],"availablePostprocessors":null,"availablePreprocessors":null}}})",
            R"({"parameters":{"tavoAI":{"pluginVersion":"4.6.66","runtimeInformation":[{"mimetypes":[""],"name":""}],"availablePreprocessors":{},"availablePostprocessors":{"LineCrossing":"Line Crossing","Object Counting":"Object Counting","Illegal Dumping":"Illegal Dumping","LoiteringDetection":"Loitering Detection"},"siteID":"site-1"}}})"));
    EXPECT_THAT(
        m_cloud.takeResets(),
        ElementsAre(R"({"SystemId":"site-1","ServerId":"server-1","Devices":["a"]})"));
    EXPECT_EQ(
        1,
        logged(
            "First time server is being configured. Setting devices to default if necessary.\n"));
    EXPECT_EQ(0, logged("Site ID"));
    EXPECT_EQ(0, logged("Checking installation\n"));
}

TEST_F(ServiceLadder, ExternalProcessorsAreNamedAsTheirFilesSay)
{
    installRuntime();
    m_folder.write(
        kWorking + "orlix_manager/preprocessors/external_preprocessors.json",
        R"({"externalPreprocessors":[{"Name":"Blur"},{"Settings":[]},{"Name":7},3,{"Name":"Blur"},{"Name":"A"}]})");
    m_folder.write(
        kWorking + "orlix_manager/postprocessors/external_postprocessors.json",
        R"({"externalPostprocessors":[{"Name":"Count"}]})");
    pass();
    const std::vector<std::string> patches = takeServerPatches();
    ASSERT_EQ(2u, patches.size());
    EXPECT_THAT(
        patches[1],
        ::testing::AllOf(
            HasSubstr(R"([{"mimetypes":["application/x-onnx"],"name":"Generic CPU"}])"),
            HasSubstr(R"("availablePreprocessors":{"Blur":"Blur","Blur":"Blur","A":"A"})"),
            HasSubstr(R"("availablePostprocessors":{"Count":"Count","LineCrossing":)")));
}

TEST_F(ServiceLadder, AnotherSiteResetsTheDevices)
{
    const std::string devices =
        R"([{"id":"a","parameters":{"tavoAI":{"models":[]}}},{"id":"b","parameters":{"tavoAI":{}}}])";
    const struct
    {
        const char* name;
        const char* server;
        std::optional<std::string> site;
        const char* log;
        bool reset;
    } kCases[] = {
        {"same", R"({"parameters":{"tavoAI":{"siteID":"site-1"}}})", "site-1",
         "Site ID didn't change\n", false},
        {"braces", R"({"parameters":{"tavoAI":{"siteID":"{site-1}"}}})", "site-1",
         "Site ID didn't change\n", false},
        {"another", R"({"parameters":{"tavoAI":{"siteID":"site-0"}}})", "site-1",
         "Detected site ID change! site-0 -> site-1\n", true},
        {"not saved", R"({"parameters":{"tavoAI":{}}})", "site-1",
         "Site ID not saved in parameters yet. Assuming unchanged.\n", false},
        {"saved as a number", R"({"parameters":{"tavoAI":{"siteID":1}}})", "site-1",
         "Site ID not saved in parameters yet. Assuming unchanged.\n", false},
        {"saved elsewhere", R"({"parameters":{"tavoAI":[]}})", "site-1",
         "Site ID not saved in parameters yet. Assuming unchanged.\n", false},
        {"unknown", R"({"parameters":{"tavoAI":{"siteID":"site-0"}}})", std::nullopt,
         "Warning! Could not get cloud system ID to check for changes. Assuming unchanged.\n",
         false}};
    setDeviceRecords(devices);
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        engine().cloudConnectionState = kCloudNeverChecked;
        setServerRecord(c.server);
        m_host->setSite(c.site);
        const int before = logged(c.log);
        pass();
        EXPECT_EQ(before + 1, logged(c.log));
        const std::vector<std::string> resets = m_cloud.takeResets();
        if (c.reset)
        {
            EXPECT_THAT(resets, ElementsAre(HasSubstr(R"("Devices":["a"])")));
            EXPECT_EQ(
                1, logged("Detected change in Site ID! Will reset all initialized devices.\n"));
        }
        else
        {
            EXPECT_THAT(resets, IsEmpty());
        }
    }
}

TEST_F(ServiceLadder, ServerRecordsThatAreNoneAreNotAskedForAgain)
{
    setServerRecord("<html>Bad gateway</html>");
    pass();
    EXPECT_EQ(1, logged("Error: Failed to get server parameters from API.\n"));
    EXPECT_EQ(kCloudConnected, engine().cloudConnectionState);
    EXPECT_THAT(takeServerPatches(), IsEmpty());
    pass();
    EXPECT_EQ(1, logged("Error: Failed to get server parameters from API.\n"));
}

TEST_F(ServiceLadder, ServerRecordsOfTheWrongKindCountAsFresh)
{
    for (const char* record :
         {"[]", "7", "null", R"({"parameters":[]})", R"({"parameters":"tavoAI"})"})
    {
        SCOPED_TRACE(record);
        engine().cloudConnectionState = kCloudNeverChecked;
        setServerRecord(record);
        EXPECT_EQ(PassEnd::cutShort, pass());
        EXPECT_EQ(2u, takeServerPatches().size());
        EXPECT_EQ(1u, m_cloud.takeResets().size());
    }
}

TEST_F(ServiceLadder, WithoutASiteThePassEnds)
{
    m_host->setSite(std::nullopt);
    for (int i = 1; i <= 2; ++i)
    {
        EXPECT_EQ(PassEnd::cutShort, pass());
        EXPECT_EQ(i, logged("Could not get the server cloud ID.\n"));
    }
    EXPECT_EQ(0, logged("Checking installation\n"));
}

TEST_F(ServiceLadder, AFailedInstallationOfTheApplicationIsNotRepeated)
{
    for (int i = 1; i <= 2; ++i)
    {
        EXPECT_EQ(PassEnd::cutShort, pass());
        EXPECT_EQ(i, logged("Checking installation\n"));
        EXPECT_EQ(1, logged("Error! Could not download Orlix Manager file from "));
    }
    EXPECT_EQ(ManagerInstallState::failed, engine().managerInstallation().managerInstallState());
}

TEST_F(ServiceLadder, WhatIsOnDiskIsTakenAsItIs)
{
    installManager();
    installRuntime();
    EXPECT_EQ(PassEnd::cutShort, pass()); // the application
    EXPECT_EQ(ManagerInstallState::installed, engine().managerInstallation().managerInstallState());
    EXPECT_EQ(PassEnd::cutShort, pass()); // the runtime
    EXPECT_EQ(RuntimeStatus::installed, engine().runtimesManager().status());
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(0, logged("Downloading"));
    EXPECT_EQ(1, logged("Checking installation\n"));
}

TEST_F(ServiceLadder, AmongSeveralRuntimesTheUserChooses)
{
    installManager();
    RuntimesManager& runtimes = engine().runtimesManager();
    pass();
    ASSERT_LE(2u, runtimes.getCompatibleRuntimes("").size()) << "needs a machine of this kind";
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(RuntimeStatus::waitingForChoice, runtimes.status());
    EXPECT_THAT(runtimes.availableRuntimes(), ::testing::Contains("Generic CPU"));
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(RuntimeStatus::waitingForChoice, runtimes.status());
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
    engine().clearCache();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(1u, engine().messageBoard().snapshot().count("CLEAR_CACHE"));
    engine().requestRuntimeReselection();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(RuntimeStatus::notSelected, runtimes.status());
    EXPECT_THAT(
        takeServerPatches(),
        ElementsAre(
            R"({"parameters":{"tavoAI":{"runtimeInformation":[{"mimetypes":[""],"name":""}]}}})"));
    EXPECT_FALSE(m_folder.has(kBin + "installed_runtime.txt"));
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(RuntimeStatus::waitingForChoice, runtimes.status());
}

TEST_F(ServiceLadder, AReselectionTakesTheRuntimeAway)
{
    installManager();
    installRuntime();
    ASSERT_EQ(PassEnd::complete, serve(4));
    engine().requestRuntimeReselection();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_FALSE(m_folder.has(kBin + kRuntimeLibrary));
    EXPECT_EQ(RuntimeStatus::notSelected, engine().runtimesManager().status());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
