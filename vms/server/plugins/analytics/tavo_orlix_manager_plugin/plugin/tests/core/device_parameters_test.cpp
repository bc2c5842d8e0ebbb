// The steps of a pass on a machine in service, run one pass at a time.

#include "core/runtime_manager_loop.h"

#include "engine_fixture.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using PassEnd = RuntimeManagerLoop::PassEnd;

class DeviceParameters : public EngineTest
{
protected:
    DeviceParameters()
    {
        installManager();
        installRuntime();
        while (pass() != PassEnd::complete)
        {}
        m_cloud.takeResets();
        takeServerPatches();
    }

    PassEnd pass() { return m_loop.runPass(); }
    bool onBoard(const char* key) { return engine().messageBoard().snapshot().contains(key); }
    std::size_t listRequests() const { return m_host->requests("GET /rest/v4/devices?").size(); }

    RuntimeManagerLoop m_loop{engine(), std::chrono::milliseconds(0)};
};

TEST_F(DeviceParameters, APassWithoutNewsIsOneRequestAndOneComparison)
{
    EXPECT_EQ(1, logged("Parsing devices parameters: 1 1 0\n"));
    const std::size_t requests = m_host->requests().size();
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(requests + 2, m_host->requests().size());
    EXPECT_EQ(1, logged("Parsing devices parameters:"));
    EXPECT_EQ("[]", m_folder.read(kWorking + "orlix_manager/etc/settings.json"));

    setDeviceRecords("[ ]"); // compared as a text
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(1, logged("Parsing devices parameters: 1 0 0\n"));
}

TEST_F(DeviceParameters, AListThatDoesNotParseIsParsedAgain)
{
    setDeviceRecords("<html>");
    for (int i = 1; i <= 2; ++i)
    {
        EXPECT_EQ(PassEnd::cutShort, pass());
        EXPECT_EQ(i, logged("Parsing devices parameters: 1 0 0\n"));
        EXPECT_EQ(i, logged("Error: Failed to parse devices parameters JSON.\n"));
    }
    setDeviceRecords("[]"); // as it was applied last
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(2, logged("Parsing devices parameters: 1 0 0\n"));
}

TEST_F(DeviceParameters, AnEmptyListEndsThePass)
{
    setDeviceRecords("");
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(1, logged("Warning! Could not get devices parameters to test for changes.\n"));
}

TEST_F(DeviceParameters, AResetIsServedBeforeTheListIsRead)
{
    engine().resetDevice("device-7");
    const std::size_t before = listRequests();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_EQ(before, listRequests());
    EXPECT_FALSE(onBoard("RESET_DEVICE"));
    EXPECT_THAT(m_cloud.takeResets(), ElementsAre(HasSubstr(R"("Devices":["device-7"])")));
    EXPECT_EQ(PassEnd::complete, pass()); // served once
    EXPECT_THAT(m_cloud.takeResets(), IsEmpty());
}

TEST_F(DeviceParameters, TheLastResetRequestDecidesWhoIsReset)
{
    setDeviceRecords(R"([{"id":"a","parameters":{"tavoAI":{"models":[],"pipelines":[]}}}])");
    engine().resetDevice("device-7");
    engine().resetDevices();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_THAT(m_cloud.takeResets(), ElementsAre(HasSubstr(R"("Devices":["a"])")));
    engine().resetDevices();
    engine().resetDevice("device-7");
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_THAT(m_cloud.takeResets(), ElementsAre(HasSubstr(R"("Devices":["device-7"])")));
}

TEST_F(DeviceParameters, AClearedCacheTakesRuntimeAndApplicationAway)
{
    m_folder.write(kWorking + "orlix_manager/cache/keys/k", "");
    engine().clearCache();
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_FALSE(onBoard("CLEAR_CACHE"));
    EXPECT_FALSE(m_folder.has(kBin));
    EXPECT_FALSE(m_folder.has(kWorking + "orlix_manager/cache"));
    EXPECT_EQ(
        ManagerInstallState::notInstalled, engine().managerInstallation().managerInstallState());
    EXPECT_EQ(RuntimeStatus::notSelected, engine().runtimesManager().status());
    EXPECT_EQ(PassEnd::cutShort, pass()); // installs anew
    EXPECT_EQ(1, logged("Error! Could not download Orlix Manager file from "));
}

TEST_F(DeviceParameters, ARetryReadsTheListAgain)
{
    engine().retryDownloads();
    setDeviceRecords(""); // the host is slow to wake
    EXPECT_EQ(PassEnd::cutShort, pass());
    EXPECT_FALSE(onBoard("RETRY_DOWNLOADS"));
    setDeviceRecords("[]");
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(1, logged("Parsing devices parameters: 0 0 0\n"));
    EXPECT_LE(
        1,
        logged("Clearing failed model downloads. This will cause model downloads to be retried."));
    EXPECT_EQ(PassEnd::complete, pass());
    EXPECT_EQ(1, logged("Parsing devices parameters: 0 0 0\n"));
}

TEST_F(DeviceParameters, DevicesOfTheWrongKindHarmNobody)
{
    const struct
    {
        const char* records;
        const char* reset; // who is, if anybody
    } kCases[] = {
        {"{}", nullptr},
        {"null", nullptr},
        {R"("text")", nullptr},
        {"7", nullptr},
        {R"([null,1,"a",[],{}])", nullptr},
        {R"([{"id":"a","parameters":[]}])", nullptr},
        {R"([{"id":"a","parameters":{"tavoAI":7}}])", R"(["a"])"},
        {R"([{"id":"a","parameters":{"tavoAI":{"models":[]}}}])", R"(["a"])"},
        {R"([{"id":"a","parameters":{"tavoAI":{"pipelines":[]}}}])", R"(["a"])"},
        {R"([{"id":7,"parameters":{"tavoAI":{}}},{"parameters":{"tavoAI":{}}}])", nullptr},
        {R"([{"id":"a","parameters":{"tavoAI":{"models":7,"pipelines":null}}}])", nullptr}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.records);
        setDeviceRecords(c.records);
        EXPECT_EQ(PassEnd::complete, pass());
        const std::vector<std::string> resets = m_cloud.takeResets();
        if (c.reset)
            EXPECT_THAT(resets, ElementsAre(HasSubstr(c.reset)));
        else
            EXPECT_THAT(resets, IsEmpty());
    }
    EXPECT_EQ(
        3,
        logged(
            "Device a does not have models or pipelines parameters yet. Resetting configuration.\n"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
