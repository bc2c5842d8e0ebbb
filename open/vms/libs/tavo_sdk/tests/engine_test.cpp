#include <tavo/sdk/analytics/helpers/engine.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/helpers/action_response.h>
#include <tavo/sdk/helpers/settings_response.h>

#include "host_doubles.h"

namespace tavo::sdk::analytics
{

namespace
{

using ::testing::HasSubstr;
using Level = IIntegrationDiagnosticEvent::Level;

class TestEngine : public Engine
{
public:
    explicit TestEngine(bool enableOutput = false) :
        Engine(enableOutput)
    {}

    Result<IDeviceAgent*> doObtainDeviceAgent(const IDeviceInfo* /*deviceInfo*/) override
    {
        return {};
    }

    using Engine::currentSettings;
    using Engine::pushIntegrationDiagnosticEvent;
    using Engine::settingValue;

    test::StdMap actionParams;

protected:
    std::string manifestString() const override { return "{\"a\":1}"; }

    Result<const ISettingsResponse*> settingsReceived() override
    {
        auto response = makePtr<SettingsResponse>();
        response->setModel("model of " + settingValue("name"));
        return response.releasePtr();
    }

    Result<const IActionResponse*> getSettingsOnActiveSettingChange(
        Ptr<const IAction> action, const test::StdMap& params) override
    {
        actionParams = params;
        auto response = makePtr<ActionResponse>();
        response->setMessageToUser(action->actionId());
        return response.releasePtr();
    }
};

TEST(Engine, answersToItsNames)
{
    const auto engine = makePtr<TestEngine>();
    for (const char* const id :
         {"tavo::sdk::analytics::IEngine", "tavo::sdk::analytics::IEngine1",
          "tavo::sdk::IRefCountable"})
        EXPECT_EQ(Ptr(engine->queryInterface(id)).get(), engine.get()) << id;
    EXPECT_EQ(engine->queryInterface("tavo::sdk::analytics::IEngine0"), nullptr);
    EXPECT_EQ(test::takeText(engine->manifest()), "{\"a\":1}");
    EXPECT_TRUE(engine->isCompatible(nullptr));
    EXPECT_TRUE(engine->pluginSideSettings().isOk());
}

TEST(Engine, keepsSettingsAndAsksTheSubclass)
{
    const auto engine = makePtr<TestEngine>();
    const test::StdMap settings = {{"name", "x"}, {"other", "y"}};
    const Result<const ISettingsResponse*> result =
        engine->setSettings(makePtr<StringMap>(settings).get());
    ASSERT_TRUE(result.isOk());
    EXPECT_STREQ(Ptr(Ptr(result.value)->model())->str(), "model of x");
    EXPECT_EQ(engine->currentSettings(), settings);

    const Result<const ISettingsResponse*> failure = engine->setSettings(nullptr);
    EXPECT_EQ(failure.errorCode, ErrorCode::invalidParams);
    EXPECT_EQ(failure.value, nullptr);
    EXPECT_EQ(test::takeMessage(failure), "Unable to convert the input string map");
    EXPECT_EQ(engine->currentSettings(), settings);

    testing::internal::CaptureStderr();
    EXPECT_EQ(engine->settingValue("third"), "");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "[unnamed_lib_context_engine] "
        "ERROR: Requested setting third is missing; implying empty string.\n");
}

TEST(Engine, handsWholeActionsToTheSubclass)
{
    const auto engine = makePtr<TestEngine>(/*enableOutput*/ true);
    const auto params = makePtr<StringMap>(test::StdMap{{"a", "1"}});
    const auto action = makePtr<test::Action>(params);
    Result<const IActionResponse*> result;
    testing::internal::CaptureStderr();
    engine->doExecuteAction(&result, action.get());
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_STREQ(Ptr(result.value)->messageToUser(), "open");
    EXPECT_EQ(engine->actionParams, (test::StdMap{{"a", "1"}}));
    EXPECT_EQ(test::refCount(action.get()), 1u);
    EXPECT_EQ(test::refCount(params.get()), 2u); // ours and the action's
    EXPECT_THAT(told, HasSubstr("actionId: open\n"));
    EXPECT_THAT(told, HasSubstr("objectTrackId: 01000000-"));
    EXPECT_THAT(told, HasSubstr("deviceId: 02000000-"));
    EXPECT_THAT(told, HasSubstr("timestampUs: 17\n"));
    EXPECT_THAT(told, HasSubstr("params: {\n        \"a\": \"1\"\n"));

    engine->doExecuteAction(&result, makePtr<test::Action>(nullptr).get());
    EXPECT_EQ(result.errorCode, ErrorCode::invalidParams);
    EXPECT_EQ(test::takeMessage(result), "Invalid action parameters");

    testing::internal::CaptureStderr();
    engine->doExecuteAction(&result, nullptr);
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        HasSubstr("doExecuteAction(): INTERNAL ERROR: action is null\n"));
    EXPECT_EQ(test::takeMessage(result), "Action is null");
}

TEST(Engine, passesDiagnosticEventsToTheHandler)
{
    auto engine = makePtr<TestEngine>();
    testing::internal::CaptureStderr();
    engine->pushIntegrationDiagnosticEvent(Level::info, "lost", "");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "[unnamed_lib_context_engine] pushIntegrationDiagnosticEvent(): INTERNAL ERROR: "
        "setHandler() was not called; ignoring the Integration Diagnostic Event.\n");

    const auto handler = makePtr<test::EngineHandler>();
    engine->setHandler(handler.get());
    engine->setHandler(handler.get());
    EXPECT_EQ(test::refCount(handler.get()), 2u);
    engine->pushIntegrationDiagnosticEvent(Level::error, "caption", "description");
    ASSERT_EQ(handler->events.size(), 1u);
    EXPECT_EQ(handler->events[0]->level(), Level::error);
    EXPECT_STREQ(handler->events[0]->description(), "description");
    EXPECT_EQ(test::refCount(handler->events[0].get()), 1u);
    EXPECT_NE(
        Ptr(handler->events[0]->queryInterface("tavo::sdk::IPluginDiagnosticEvent")), nullptr);
    engine.reset();
    EXPECT_EQ(test::refCount(handler.get()), 1u);
}

TEST(Engine, namesItselfInItsLines)
{
    testing::internal::CaptureStderr();
    {
        const auto engine = makePtr<TestEngine>(/*enableOutput*/ true);
        engine->setEngineInfo(makePtr<test::EngineInfo>().get());
    }
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "[unnamed_lib_context_engine] Created\n[unnamed_lib_context_engine_Main] Destroyed\n");
}

} // namespace

} // namespace tavo::sdk::analytics
