// An agent's life, its parameters on the host and its settings.
#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "agent_fixture.h"
#include "gate.h"
#include "http_server.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using namespace test;
using testing::AllOf, testing::ElementsAre, testing::HasSubstr, testing::IsEmpty, testing::Not,
    testing::Pair, testing::SizeIs;

constexpr char kOnePipeline[] = R"({
    "deviceAdmin": "https://admin",
    "models": [{"UUID": "m1", "Name": "People",
        "NamedOutput": [{"Name": "bboxes-format:xyxy;0:person;1:car"}]}],
    "pipelines": [{"modelUUID": "m1", "modelNMS": 0.58, "Postprocessor": "LineCrossing"}]})";

TEST_F(AgentTest, TellsTheHostOfItsLife)
{
    const auto isEnabled = [](const char* value)
    { return R"({"parameters":{"tavoAI":{"PluginEnabled":)" + std::string(value) + "}}}"; };
    EXPECT_EQ(isEnabled("true"), patches().back().body);
    EXPECT_EQ("application/json", patches().back().mimeType);
    agent.reset();
    EXPECT_EQ(isEnabled("false"), patches().back().body);
    EXPECT_EQ(std::string("/rest/v4/devices/") + kDeviceId, patches().back().path);
    EXPECT_THAT(services().takeRequests(), ElementsAre("removeDeviceAgent 7"));
}

TEST_F(AgentTest, AsksForWhatAButtonSays)
{
    processParameters(kOnePipeline);
    const std::pair<const char*, std::string> kCases[] = {
        {"resetSingleDeviceButton", std::string("resetDevice ") + kDeviceId},
        {"resetAllDevicesButton", "resetDevices"},
        {"clearCacheButton", "clearCache"},
        {"modelDownloadRetryButton", "retryDownloads"},
        {"reselectRuntimeButton", "requestRuntimeReselection"},
        {"libraryChoiceIntel", ""},
        {"selectAllButton", ""},
        {"deSelectAllButton", ""},
        {"manageDevice", ""},
        {"unknown", ""}};
    for (const auto& [button, request] : kCases)
    {
        SCOPED_TRACE(button);
        const auto response = press(button);
        const auto requests = services().takeRequests();
        EXPECT_EQ(request.empty() ? 0u : 1u, requests.size());
        EXPECT_EQ(request, requests.empty() ? "" : requests.front());
        EXPECT_EQ(
            button == std::string("libraryChoiceIntel"),
            services().runtimesManager().chosenRuntime() == "Intel");
        services().runtimesManager().chooseRuntime("");

        ASSERT_TRUE(response);
        const sdk::ISettingsResponse* const settings = response->settingsResponse();
        ASSERT_EQ(button == std::string("manageDevice"), settings == nullptr);
        if (!settings)
        {
            EXPECT_STREQ("https://admin", sdk::Ptr(response->actionResponse())->actionUrl());
            continue;
        }
        const std::string car = button == std::string("selectAllButton") ? "true"
            : button == std::string("deSelectAllButton")                 ? "false"
                                                                         : "x";
        const auto& [values, model] = readAnswer(settings);
        EXPECT_THAT(values, ElementsAre(Pair("other", "x"), Pair("visualise_car", car)));
        EXPECT_THAT(model, testing::StartsWith(R"({"type":"Settings",)"));
    }
}

TEST_F(AgentTest, KnowsNoClassesUntilAManifestIsPushedOnce)
{
    const std::map<std::string, std::string> wrong = {{"loiterDetectionTimeThreshold", "soon"}};
    const auto refused = agent->setSettings(sdk::makePtr<sdk::StringMap>(wrong).get());
    EXPECT_TRUE(sdk::Ptr(refused.errorMessage));
    processParameters(kOnePipeline);
    EXPECT_THAT(handler->takeManifests(), IsEmpty()) << "the user's settings did not come yet";
    const sdk::Ptr<const sdk::IString> manifest(agent->manifest().value);
    EXPECT_THAT(manifest->str(), HasSubstr(R"("objectTypes":[])"));

    setSettings({});
    EXPECT_THAT(handler->takeManifests(), ElementsAre(HasSubstr("tavo.orlix.person")));
    processParameters(R"({"deviceAdmin": "https://admin"})");
    EXPECT_THAT(handler->takeManifests(), ElementsAre(Not(HasSubstr("tavo.orlix.person"))));

    int answers = 0; // of a host that answers each manifest with its settings
    handler->onManifest = [&]
    {
        if (++answers < 5)
            setSettings({});
    };
    setSettings({});
    EXPECT_THAT(handler->takeManifests(), SizeIs(1));
}

TEST_F(AgentTest, PushesTheManifestThatWasMadeLastLast)
{
    const auto gate = std::make_shared<Gate>();
    handler->onManifest = [gate] { gate->pass(); };
    processParameters(kOnePipeline);
    const auto user = std::async(std::launch::async, [&] { setSettings({}); });
    ASSERT_TRUE(gate->isReached());
    EXPECT_TRUE(gate->doesNotHoldUp(
        [this]
        {
            processParameters(R"({"deviceAdmin": "https://admin"})");
            setSettings({});
        }));
    gate->open();
    user.wait();
    const auto person = HasSubstr("tavo.orlix.person");
    EXPECT_THAT(handler->takeManifests(), ElementsAre(person, Not(person)));
}

TEST_F(AgentTest, SavesTheSettingsThatCameLastLast)
{
    for (int round = 0; round < 100; ++round)
    {
        {
            std::vector<std::jthread> users;
            for (const char* const value : {"a", "b", "c"})
                users.emplace_back([this, value] { setSettings({{"cropBox", value}}); });
        }
        const auto values = readAnswer(agent->pluginSideSettings().value).first;
        ASSERT_EQ(
            "cropBox=" + values.at("cropBox") + "\n",
            folder.read(std::string(kDeviceId) + "_settings_cache.txt"));
    }
}

TEST_F(AgentTest, ShowsWhatIsWrongWithItsPipelines)
{
    services().cloudState = kCloudConnected;
    services().runtimesManager().setStatus(RuntimeStatus::installed);
    const auto model = [&]() { return readAnswer(agent->pluginSideSettings().value).second; };
    constexpr char kNone[] = "This device has no pipelines defined.";
    constexpr char kBroken[] = "There was a problem parsing the configuration for this device.";

    processParameters(R"({"deviceAdmin": "https://admin"})");
    EXPECT_THAT(model(), AllOf(HasSubstr(kNone), Not(HasSubstr(kBroken))));
    processParameters(R"({"deviceAdmin": "https://admin", "pipelines": [null]})");
    EXPECT_THAT(model(), AllOf(HasSubstr(kBroken), Not(HasSubstr(kNone))));
    processParameters(kOnePipeline);
    const std::string before = model();
    EXPECT_THAT(before, AllOf(HasSubstr(kBroken), HasSubstr("    People\\n")))
        << "a broken configuration stays on record";
    processParameters(R"({"pipelines": [], "selectedPipeline": "u1"})");
    EXPECT_EQ(before, model()) << "nothing changes without an admin URL";
}

// With a cloud that offers one pipeline.
class PipelineChoice : public AgentTest
{
protected:
    PipelineChoice()
    {
        m_cloud.handlers.Get(
            std::string("/system/site-1/device/") + kDeviceId + "/available-pipelines",
            [](const httplib::Request&, httplib::Response& response)
            {
                response.set_content(
                    R"([{"name": "People", "uuid": "u1", "deviceAdmin": "https://admin",
                        "pipelines": {"modelUUID": "m1", "modelNMS": 0.5}}])",
                    "application/json");
            });
        m_cloud.start();
        m_url = m_cloud.url("");
        ini().CloudAPI = m_url.c_str();
        host->setToken("token");
        agent->fetchAvailablePipelines(services().messageBoard());
    }

private:
    LoopbackHttpServer m_cloud;
    std::string m_url;
};

TEST_F(PipelineChoice, IsTakenAtOnce)
{
    const std::size_t before = patches().size();
    EXPECT_THAT(setSettings({{"selectedPipeline", "u1"}}).second, HasSubstr(":\\nm1\\n"));
    ASSERT_THAT(patches(), SizeIs(before + 1));
    EXPECT_EQ(
        R"({"parameters":{"tavoAI":{"deviceAdmin":"https://admin",)"
        R"("pipelines":{"modelUUID":"m1","modelNMS":0.5},"selectedPipeline":"u1"}}})",
        patches().back().body);
    const CapturedLog log;
    for (const char* const present : {"u1", ""})
        setSettings({{"selectedPipeline", present}});
    EXPECT_THAT(log.text(), Not(HasSubstr("Detected change in pipeline selection.")));
    setSettings({{"selectedPipeline", "nobody offers this"}});
    EXPECT_THAT(patches(), SizeIs(before + 1));
}

TEST_F(AgentTest, AsksTheCloudForPipelinesSixTimesAndThenTellsTheUser)
{
    std::atomic<int> requests{0};
    LoopbackHttpServer cloud;
    std::atomic<bool> isBack{false};
    cloud.handlers.Get(
        ".*",
        [&](const httplib::Request&, httplib::Response& response)
        {
            ++requests;
            if (isBack)
                response.set_content(R"([{"name":"P","uuid":"u","pipelines":{}}])", "text/json");
        });
    cloud.start();
    const std::string url = cloud.url("");
    ini().CloudAPI = url.c_str();
    MessageBoard& board = services().messageBoard();
    for (int attempt = 1; attempt <= 8; ++attempt)
    {
        agent->fetchAvailablePipelines(board);
        EXPECT_EQ(std::min(attempt, 6), requests);
        EXPECT_EQ(
            attempt > 6 ? 1u : 0u,
            board.snapshot().count(board_key::kFailedFetchPipelines + std::string(kDeviceId)));
        const auto tried =
            board.snapshot().at(board_key::kPipelinesAwaited + std::string(kDeviceId));
        EXPECT_THAT(tried.text, HasSubstr(url));
    }
    auto now = Throttle::Clock::now(); // 5 minutes late at the earliest from here on
    for (const int expected : {7, 8})
    {
        now += std::chrono::minutes(6);
        agent->fetchAvailablePipelines(board, now);
        agent->fetchAvailablePipelines(board, now + std::chrono::minutes(4));
        EXPECT_EQ(expected, requests);
    }
    isBack = true;
    agent->fetchAvailablePipelines(board, now + std::chrono::minutes(6));
    EXPECT_EQ(9, requests);
    EXPECT_THAT(board.snapshot(), IsEmpty());
}

// However long the host takes over a request that the user's settings lead to.
TEST_F(PipelineChoice, HoldsUpNoResultAndNoDialog)
{
    const struct
    {
        const char* method;
        std::map<std::string, std::string> settings;
    } kCases[] = {
        {"PATCH", {{"selectedPipeline", "u1"}}},
        {"GET", {{"selectedPipeline", "u1"}, {"model_nms_m1", "100"}}},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.method);
        const auto gate = std::make_shared<Gate>(); // the host keeps it to the end
        host->run =
            [gate, method = c.method](const FakeHost::Request& request, FakeHost::Handler* to)
        {
            if (request.method == method)
                gate->pass();
            FakeHost::reply(to, "HTTP/1.1 200 OK\r\n\r\n{}");
        };
        const auto user = std::async(std::launch::async, [&] { setSettings(c.settings); });
        EXPECT_TRUE(gate->isReached());
        EXPECT_TRUE(gate->doesNotHoldUp(
            [this]
            {
                handleResult({{"Timestamp", number(1)}, {"Scores", map({})}});
                readAnswer(agent->pluginSideSettings().value);
            }));
        EXPECT_THAT(handler->takeEvents(), Not(IsEmpty()));
        gate->open();
    }
}

TEST_F(AgentTest, KeepsNothingOfACallWithAWrongTime)
{
    setSettings({{"cropBox", "kept"}});
    const std::string cache = std::string(kDeviceId) + "_settings_cache.txt";
    ASSERT_EQ("cropBox=kept\n", folder.read(cache));
    const auto wrong = sdk::makePtr<sdk::StringMap>(std::map<std::string, std::string>{
        {"deviceActiveSwitch", "true"},
        {"cropBox", "lost"},
        {"dumpingDetectionTimeThreshold", "15"},
        {"loiterDetectionTimeThreshold", "soon"}});
    const auto answer = agent->setSettings(wrong.get());
    EXPECT_EQ(sdk::ErrorCode::internalError, answer.errorCode);
    EXPECT_STREQ(
        "loiterDetectionTimeThreshold is no number of seconds: soon",
        sdk::Ptr(answer.errorMessage)->str());
    EXPECT_EQ("cropBox=kept\n", folder.read(cache));
    const auto values = readAnswer(agent->pluginSideSettings().value).first;
    EXPECT_THAT(values, ElementsAre(testing::Pair("cropBox", "kept")));
    const MutexLock lock(settingsLock());
    EXPECT_FALSE(agent->isActive());
}

TEST_F(AgentTest, ShowsNoPipelineBeforeOneWasReadAndLosesNone)
{
    const auto shown = [&] { return readAnswer(agent->pluginSideSettings().value).first; };
    EXPECT_FALSE(shown().contains("selectedPipeline"));
    processParameters(R"({"deviceAdmin":"https://admin","pipelines":[],"selectedPipeline":"u1"})");
    EXPECT_EQ("u1", shown().at("selectedPipeline"));
    setSettings({{"selectedPipeline", ""}}); // of a dialog that was drawn before
    EXPECT_EQ("u1", shown().at("selectedPipeline"));
}

TEST_F(AgentTest, IsManagedWhereTheInstallationSays)
{
    ini().DeviceAdminOverride = "https://elsewhere";
    processParameters("{}");
    ini().DeviceAdminOverride = "";
    const auto response = press("manageDevice");
    EXPECT_EQ(
        "https://elsewhere/system/site-1/device/" + std::string(kDeviceId),
        sdk::Ptr(response->actionResponse())->actionUrl());

    sdk::Result<const sdk::IActiveSettingChangedResponse*> result;
    agent->getSettingsOnActiveSettingChange(&result, nullptr);
    EXPECT_EQ(sdk::ErrorCode::invalidParams, result.errorCode);
    EXPECT_STREQ("Action is null", sdk::Ptr(result.errorMessage)->str());
    agent->getSettingsOnActiveSettingChange(nullptr, nullptr);
}

TEST_F(AgentTest, WritesChangedSensitivitiesIntoTheHostsRecord)
{
    processParameters(kOnePipeline);
    host->body = [](const FakeHost::Request& request)
    {
        return request.method != "GET"
            ? "{}"
            : R"({"parameters": {"tavoAI": {"pipelines": [{"modelUUID": "m1", "modelNMS": 0.58, "modelNMS": 0.6, "x": {"y": [1]}, "chains": [{"modelUUID": "m1", "modelNMS": 0.5}]}, {"modelUUID": "m2", "modelNMS": 0.5}, ["no node"], {"modelNMS": 0.5}]}}})";
    };
    const std::size_t before = patches().size();
    setSettings({{"model_nms_m1", "42"}});
    EXPECT_THAT(patches(), SizeIs(before)) << "nothing changed";
    setSettings({{"model_nms_m1", "100"}});
    ASSERT_THAT(patches(), SizeIs(before + 1));
    EXPECT_EQ(
        R"({"parameters":{"tavoAI":{"pipelines":[)"
        R"({"modelUUID":"m1","x":{"y":[1]},"chains":[{"modelUUID":"m1","modelNMS":0.5}],"modelNMS":0.0},)"
        R"({"modelUUID":"m2","modelNMS":0.5},["no node"],{"modelNMS":0.5}]}}})",
        patches().back().body);

    // A record that cannot be had, or has no array, must not lose its pipelines.
    for (const char* const record : {"", "<html>", R"({"parameters":{"tavoAI":{"pipelines":{}}}})"})
    {
        host->body = [record](const FakeHost::Request&) { return record; };
        setSettings({{"model_nms_m1", "100"}});
    }
    EXPECT_THAT(patches(), SizeIs(before + 1));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
