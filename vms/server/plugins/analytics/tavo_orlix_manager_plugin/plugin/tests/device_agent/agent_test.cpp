// An agent's life, its parameters on the host, its settings and its buttons.
#include <stdexcept>

#include "agent_fixture.h"
#include "fake_application.h"
#include "http_server.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using namespace test;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::SizeIs;

constexpr char kOnePipeline[] = R"({
    "deviceAdmin": "https://admin",
    "models": [{"UUID": "m1", "Name": "People",
        "NamedOutput": [{"Name": "bboxes-format:xyxy;0:person;1:car"}]}],
    "pipelines": [{"modelUUID": "m1", "modelNMS": 0.58, "Postprocessor": "LineCrossing"}]})";

TEST_F(AgentTest, TellsTheHostThatItIsThere)
{
    EXPECT_EQ(kDeviceId, agent->deviceId());
    const auto enabled = host->requests("PATCH");
    ASSERT_THAT(enabled, SizeIs(1));
    EXPECT_EQ(std::string("/rest/v4/devices/") + kDeviceId, enabled[0].path);
    EXPECT_EQ(R"({"parameters":{"tavoAI":{"PluginEnabled":true}}})", enabled[0].body);
    agent.reset();
    EXPECT_EQ(R"({"parameters":{"tavoAI":{"PluginEnabled":false}}})", patches().back());
    EXPECT_EQ(1u, countInLog("Destroying Device Agent 7\n"));
}

// The engine's registry and a device's end take the same lock.
TEST_F(AgentTest, LeavesTheRegistryOfItsEngine)
{
    const auto device = sdk::makePtr<FakeDevice>();
    const auto obtain = [&]()
    {
        const auto result = engine().doObtainDeviceAgent(device.get());
        return sdk::Ptr<sdk::analytics::IDeviceAgent>(result.value);
    };
    auto first = obtain();
    auto second = obtain();
    second.reset();
    EXPECT_EQ(1u, countInLog("Destroying Device Agent 1\n"));
    second = obtain();
    second.reset();
    EXPECT_EQ(2u, countInLog("Destroying Device Agent 1\n")) << "the number was free again";
    first.reset();
}

TEST_F(AgentTest, KnowsNoClassesUntilAManifestIsPushed)
{
    processParameters(kOnePipeline);
    EXPECT_THAT(handler->takeManifests(), IsEmpty()) << "the user's settings did not come yet";
    const sdk::Ptr<const sdk::IString> manifest(agent->manifest().value);
    EXPECT_THAT(manifest->str(), HasSubstr(R"("objectTypes":[])"));

    setSettings({});
    EXPECT_THAT(handler->takeManifests(), ElementsAre(HasSubstr("tavo.orlix.person")));
    processParameters(R"({"deviceAdmin": "https://admin", "models": [{"UUID": "m", "Name": "n",
        "NamedOutput": [{"Name": "bboxes;0:dog"}]}]})");
    EXPECT_THAT(
        handler->takeManifests(),
        ElementsAre(AllOf(HasSubstr("tavo.orlix.dog"), Not(HasSubstr("tavo.orlix.person")))));
}

TEST_F(AgentTest, ChangesNothingWithoutAnAdminUrl)
{
    processParameters(kOnePipeline);
    const std::string before = readAnswer(agent->pluginSideSettings().value).second;
    processParameters(R"({"pipelines": [], "selectedPipeline": "u1"})");
    EXPECT_EQ(
        1u,
        countInLog(std::string("Error! Device ") + kDeviceId + " does not have an Admin URL!\n"));
    EXPECT_EQ(before, readAnswer(agent->pluginSideSettings().value).second);
}

TEST_F(AgentTest, ShowsWhatIsWrongWithItsPipelines)
{
    engine().cloudConnectionState = 5;
    engine().runtimesManager().setStatus(RuntimeStatus::installed);
    const auto model = [&]() { return readAnswer(agent->pluginSideSettings().value).second; };
    constexpr char kNone[] = "This device has no pipelines defined.";
    constexpr char kBroken[] = "There was a problem parsing the configuration for this device.";

    processParameters(R"({"deviceAdmin": "https://admin"})");
    EXPECT_THAT(model(), AllOf(HasSubstr(kNone), Not(HasSubstr(kBroken))));
    processParameters(R"({"deviceAdmin": "https://admin", "pipelines": [null]})");
    EXPECT_THAT(model(), AllOf(HasSubstr(kBroken), Not(HasSubstr(kNone))));
    processParameters(kOnePipeline);
    EXPECT_THAT(model(), AllOf(HasSubstr(kBroken), HasSubstr("    People\\n")))
        << "a broken configuration stays on record";
}

TEST_F(AgentTest, FetchesPipelinesSixTimesAtMost)
{
    host->setToken(""); // not even a request can be made to a cloud that is not there
    ini().CloudAPI = "http://127.0.0.1:9"; // nobody listens
    MessageBoard board;
    const std::string key = std::string("FAILED_FETCH_PIPELINES_") + kDeviceId;
    for (int i = 0; i < 6; ++i)
        agent->fetchAvailablePipelines(board);
    EXPECT_THAT(board.snapshot(), IsEmpty());
    const std::string failed = std::string("Device ") + kDeviceId + " failed to fetch pipelines.\n";
    EXPECT_EQ(6u, countInLog(failed));

    agent->fetchAvailablePipelines(board);
    const auto entries = board.snapshot();
    ASSERT_TRUE(entries.contains(key));
    EXPECT_EQ(MessageType::warning, entries.at(key).type);
    EXPECT_EQ(6u, countInLog(failed)) << "no further request";
}

TEST_F(AgentTest, TakesAChosenPipelineAtOnce)
{
    LoopbackHttpServer cloud;
    int requests = 0;
    cloud.handlers.Get(
        std::string("/system/site-1/device/") + kDeviceId + "/available-pipelines",
        [&](const httplib::Request&, httplib::Response& response)
        {
            ++requests;
            response.set_content(
                R"([{"name": "People", "uuid": "u1", "deviceAdmin": "https://admin",
                    "models": [{"UUID": "m1", "Name": "People net"}],
                    "pipelines": {"modelUUID": "m1", "modelNMS": 0.5}}])",
                "application/json");
        });
    cloud.start();
    const std::string url = cloud.url("");
    ini().CloudAPI = url.c_str();
    host->setToken("token");
    engine().messageBoard().postMessage(
        std::string("FAILED_FETCH_PIPELINES_") + kDeviceId, "", MessageType::warning);

    agent->fetchAvailablePipelines(engine().messageBoard());
    agent->fetchAvailablePipelines(engine().messageBoard());
    EXPECT_EQ(1, requests);
    EXPECT_THAT(engine().messageBoard().snapshot(), IsEmpty());

    processParameters(R"({"deviceAdmin": "https://admin"})");
    const std::size_t before = patches().size();
    EXPECT_THAT(
        setSettings({{"selectedPipeline", "u1"}}).second,
        AllOf(HasSubstr(R"("itemCaptions":{"u1":"People")"), HasSubstr("People net\\n")));
    ASSERT_THAT(patches(), SizeIs(before + 1));
    EXPECT_EQ(
        R"({"parameters":{"tavoAI":{"deviceAdmin":"https://admin",)"
        R"("models":[{"UUID":"m1","Name":"People net"}],)"
        R"("pipelines":{"modelUUID":"m1","modelNMS":0.5},"selectedPipeline":"u1"}}})",
        patches().back());
    setSettings({{"selectedPipeline", "u1"}});
    EXPECT_THAT(patches(), SizeIs(before + 1)) << "nothing changed";
    setSettings({{"selectedPipeline", "nobody offers this"}});
    EXPECT_THAT(patches(), SizeIs(before + 1));
    EXPECT_EQ(2u, countInLog("Detected change in pipeline selection.\n"));
    EXPECT_EQ(1u, countInLog("Processing new parameters\n"));
}

TEST_F(AgentTest, AnswersWithValuesModelAndCache)
{
    const auto [values, model] =
        setSettings({{"a", "1"}, {"deviceActiveSwitch", "true"}, {"selectedPipeline", "u9"}});
    EXPECT_THAT(
        values,
        ElementsAre(
            Pair("a", "1"), Pair("deviceActiveSwitch", "true"), Pair("selectedPipeline", "u9")));
    EXPECT_THAT(model, HasSubstr(R"({"type":"Settings","items":[)"));
    EXPECT_EQ("a=1\n", folder.read(std::string(kDeviceId) + "_settings_cache.txt"));
    setSettings({{"b", "2"}});
    EXPECT_EQ("a=1\nb=2\n", folder.read(std::string(kDeviceId) + "_settings_cache.txt"))
        << "values that the host no longer names stay";

    // As after a restart of the host.
    agent.reset();
    startAgent();
    EXPECT_THAT(
        readAnswer(agent->pluginSideSettings().value).first,
        ElementsAre(Pair("a", "1"), Pair("b", "2"), Pair("selectedPipeline", "")));
}

TEST_F(AgentTest, LetsATimeThatIsNoNumberThroughAndGoesOn)
{
    const auto values = sdk::makePtr<sdk::StringMap>(
        std::map<std::string, std::string>{{"loiterDetectionTimeThreshold", "soon"}});
    EXPECT_THROW((void)agent->setSettings(values.get()), std::invalid_argument);
    EXPECT_THAT(setSettings({}).second, HasSubstr("Settings")) << "no lock was left behind";
}

TEST_F(AgentTest, WritesChangedSensitivitiesIntoTheHostsRecord)
{
    processParameters(kOnePipeline);
    host->body = [](const FakeHost::Request& request)
    {
        return request.method == "GET"
            ? R"({"id": "x", "parameters": {"tavoAI": {"pipelines": [{"modelUUID": "m1", "modelNMS": 0.58}]}}})"
            : "{}";
    };
    const std::size_t before = patches().size();
    setSettings({{"model_nms_m1", "42"}});
    EXPECT_THAT(patches(), SizeIs(before)) << "nothing changed";
    setSettings({{"model_nms_m1", "100"}});
    ASSERT_THAT(patches(), SizeIs(before + 1));
    EXPECT_EQ(
        R"({"parameters":{"tavoAI":{"pipelines":[{"modelUUID":"m1","modelNMS":0.0}]}}})",
        patches().back());

    // A record that cannot be had, or has no array, must not lose its pipelines.
    for (const char* const record : {"", "<html>", R"({"parameters":{"tavoAI":{"pipelines":{}}}})"})
    {
        host->body = [record](const FakeHost::Request&) { return record; };
        setSettings({{"model_nms_m1", "100"}});
    }
    EXPECT_THAT(patches(), SizeIs(before + 1));
    EXPECT_EQ(3u, countInLog("Warning! Could not load last known settings\n"));
}

class Buttons : public AgentTest
{
protected:
    class Action : public sdk::RefCountable<sdk::IActiveSettingChangedAction>
    {
    public:
        Action(std::string name, std::map<std::string, std::string> values) :
            m_name(std::move(name)),
            m_values(std::move(values))
        {}
        const char* activeSettingName() const override { return m_name.c_str(); }
        const sdk::IStringMap* settingsValues() const override
        {
            return sdk::makePtr<sdk::StringMap>(m_values).releasePtr();
        }
        const sdk::IStringMap* params() const override { return nullptr; }

    private:
        const std::string m_name;
        const std::map<std::string, std::string> m_values;
    };

    // Null if the agent left the result alone.
    sdk::Ptr<const sdk::IActiveSettingChangedResponse> press(
        const std::string& name, std::map<std::string, std::string> values = {})
    {
        sdk::Result<const sdk::IActiveSettingChangedResponse*> result;
        const auto action = sdk::makePtr<Action>(name, std::move(values));
        agent->getSettingsOnActiveSettingChange(&result, action.get());
        EXPECT_TRUE(result.isOk());
        return sdk::Ptr<const sdk::IActiveSettingChangedResponse>(result.value);
    }

    Answer pressForAnswer(const std::string& name, std::map<std::string, std::string> values = {})
    {
        const auto response = press(name, std::move(values));
        EXPECT_EQ(nullptr, response->actionResponse());
        return readAnswer(response->settingsResponse());
    }
};

TEST_F(Buttons, SelectAndDeselectAllClasses)
{
    const std::map<std::string, std::string> values = {
        {"visualise_car", "true"}, {"visualise_", "x"}, {"not_visualise_dog", "x"}, {"a", "x"}};
    EXPECT_THAT(
        pressForAnswer("selectAllButton", values).first,
        ElementsAre(
            Pair("a", "x"), Pair("not_visualise_dog", "x"), Pair("visualise_", "true"),
            Pair("visualise_car", "true")));
    EXPECT_THAT(
        pressForAnswer("deSelectAllButton", values).first,
        AllOf(Contains(Pair("visualise_car", "false")), Contains(Pair("a", "x"))));
    const auto [none, model] = pressForAnswer("selectAllButton");
    EXPECT_THAT(none, IsEmpty());
    EXPECT_THAT(model, HasSubstr("Settings"));
}

TEST_F(Buttons, ShowTheirRequestAtOnce)
{
    const struct
    {
        const char* button;
        const char* key;
        const char* text;
    } kCases[] = {
        {"resetSingleDeviceButton", "RESET_DEVICE", "Device reset in progress."},
        {"resetAllDevicesButton", "RESET_DEVICE", "Device reset in progress."},
        {"clearCacheButton", "CLEAR_CACHE", "Plugin is clearing the cache."},
        {"modelDownloadRetryButton", "RETRY_DOWNLOADS", "Plugin will retry model downloads."},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.button);
        EXPECT_THAT(pressForAnswer(c.button).second, HasSubstr(c.text));
        EXPECT_TRUE(engine().messageBoard().snapshot().contains(c.key));
        engine().messageBoard().removeMessage(c.key);
    }
    EXPECT_THAT(pressForAnswer("nobodyKnowsThis").second, Not(HasSubstr("in progress")));
    EXPECT_THAT(
        engine().messageBoard().snapshot(), Not(Contains(Pair("RESET_DEVICE", testing::_))));
}

TEST_F(Buttons, ChooseTheRuntime)
{
    engine().cloudConnectionState = 5;
    (void)pressForAnswer("libraryChoiceGPU 1");
    EXPECT_EQ("GPU 1", engine().runtimesManager().chosenRuntime());
    EXPECT_EQ(RuntimeStatus::chosen, engine().runtimesManager().status());
    EXPECT_EQ(1u, countInLog("User chose: GPU 1\n"));
    (void)pressForAnswer("libraryChoice");
    EXPECT_EQ("", engine().runtimesManager().chosenRuntime());
    (void)pressForAnswer("reselectRuntimeButton");
    EXPECT_EQ(RuntimeStatus::reselectRequested, engine().runtimesManager().status());
}

TEST_F(Buttons, OpenTheDevicesPage)
{
    for (const std::string url : {"", "https://admin/device"})
    {
        if (!url.empty())
            processParameters(R"({"deviceAdmin": ")" + url + R"("})");
        const auto response = press("manageDevice");
        EXPECT_EQ(nullptr, response->settingsResponse());
        const sdk::Ptr<const sdk::IActionResponse> action(response->actionResponse());
        EXPECT_EQ(url, action->actionUrl());
        EXPECT_FALSE(action->useProxy());
        EXPECT_FALSE(action->useDeviceCredentials());
    }
    ini().DeviceAdminOverride = "https://mine";
    host->setSite("{site}");
    processParameters("{}");
    const sdk::Ptr<const sdk::IActionResponse> action(press("manageDevice")->actionResponse());
    EXPECT_EQ(std::string("https://mine/system/{site}/device/") + kDeviceId, action->actionUrl());
}

TEST_F(Buttons, StartAReferenceRun)
{
    FakeApplication application(folder.path());
    EXPECT_EQ(nullptr, press("triggerReferenceRunButton"));
    EXPECT_THAT(application.commands(1), ElementsAre(1u));
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
