#include <tavo/sdk/analytics/helpers/engine.h>

#include <gmock/gmock.h>

#include <tavo/sdk/analytics/helpers/integration.h>
#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/to_string.h>

#include "host_doubles.h"

namespace tavo::sdk::analytics
{

namespace
{

class TestEngine : public Engine
{
public:
    TestEngine() :
        Engine(/*enableOutput*/ true, "P")
    {}
    TAVO_RETURNS_OVERRIDE(Result<IDeviceAgent*>, doObtainDeviceAgent, const IDeviceInfo*)
    {
        return {};
    }
    std::string manifestString() const override { return "{}"; }

    using Engine::pushIntegrationDiagnosticEvent;
    using Engine::settingValue;
};

TEST(Engine, tellsItsLife)
{
    constexpr auto kLevel = IIntegrationDiagnosticEvent::Level::error;
    testing::internal::CaptureStderr();
    {
        const auto engine = makePtr<TestEngine>();
        engine->pushIntegrationDiagnosticEvent(kLevel, "", "");
        engine->setEngineInfo(makePtr<test::EngineInfo>().get());
        const auto handler = makePtr<test::EngineHandler>();
        engine->setHandler(handler.get());
        engine->pushIntegrationDiagnosticEvent(kLevel, "caption", "description");
        EXPECT_EQ(1, handler->events);
        EXPECT_TRUE(engine->setSettings(makePtr<StringMap>(test::StdMap{{"a", "1"}}).get()).isOk());
        EXPECT_EQ("1", engine->settingValue("a"));
        EXPECT_EQ("", engine->settingValue("b"));
        Result<const IActionResponse*> result;
        const auto params = makePtr<StringMap>(test::StdMap{{"c", "2"}});
        engine->doExecuteAction(&result, makePtr<test::Action>(params).get());
        EXPECT_TRUE(result.isOk());
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), R"([P_engine] Created
[P_engine] pushIntegrationDiagnosticEvent(): INTERNAL ERROR: setHandler() was not called; ignoring the Integration Diagnostic Event.
[P_engine_Site] Producing Integration Diagnostic Event:
{
    "level": "error",
    "caption": "caption",
    "description": "description"
}
[P_engine_Site] Received settings
[P_engine_Site] ERROR: Requested setting b is missing; implying empty string.
[P_engine_Site] Executing action:
    actionId: wipe
    objectTrackId: 01000000-0000-0000-0000-000000000000
    deviceId: 02000000-0000-0000-0000-000000000000
    timestampUs: 3
    params: {
        "c": "2"
    }
[P_engine_Site] Destroyed
)");
}

TEST(Engine, saysWhatFailed)
{
    const auto engine = makePtr<TestEngine>();
    EXPECT_TRUE(engine->isCompatible(nullptr));
    EXPECT_EQ(
        "Unable to convert the input string map", test::takeMessage(engine->setSettings(nullptr)));
    Result<const IActionResponse*> result;
    engine->doExecuteAction(&result, makePtr<test::Action>(nullptr).get());
    EXPECT_EQ("Invalid action parameters", test::takeMessage(result));
}

TEST(Integration, tellsAnEngineThatCannotBeMade)
{
    class TestIntegration : public Integration
    {
    public:
        explicit TestIntegration(std::string manifest = {}, CreateEngine create = {}) :
            Integration(std::move(manifest), std::move(create))
        {}
    };
    class Failing : public Integration
    {
        Result<IEngine*> doObtainEngine() override { return error(ErrorCode::otherError, "why"); }
    };
    const auto engine = makePtr<TestEngine>();
    const auto create = [&](Integration*) -> IEngine* { return Ptr(engine).releasePtr(); };
    const auto none = [](Integration*) -> IEngine* { return nullptr; };
    const struct
    {
        Ptr<Integration> integration;
        const char* message; // empty: there is an engine
    } kCases[] = {
        {makePtr<TestIntegration>("manifest", create), ""},
        {makePtr<TestIntegration>("manifest", none), "Unable to create Engine"},
        {makePtr<Failing>(), "why"},
        {makePtr<TestIntegration>(),
         "Either doObtainEngine() should be overridden, or the constructor with createEngine argument (deprecated) should be called."}};
    for (const auto& c : kCases)
    {
        testing::internal::CaptureStderr();
        const Result<IEngine*> result = c.integration->obtainEngine();
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_EQ(c.message, test::takeMessage(result));
        EXPECT_EQ(*c.message ? nullptr : engine.get(), Ptr(result.value).get());
        const std::string line = std::string(": ") + c.message + "\n";
        EXPECT_EQ(*c.message != '\0', told.find("ERROR: ") != told.npos) << told;
        EXPECT_TRUE(told.ends_with(*c.message ? line : "")) << told;
    }
    testing::internal::CaptureStderr();
    makePtr<Failing>().reset();
    const std::string told = testing::internal::GetCapturedStderr();
    for (const char* const stage : {"] Created IIntegration @", "] Destroyed IIntegration @"})
        EXPECT_THAT(told, testing::HasSubstr(stage));
    EXPECT_EQ("manifest", test::takeText(kCases[0].integration->manifest()));
    testing::internal::CaptureStderr();
    EXPECT_EQ("", test::takeText(kCases[3].integration->manifest()));
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        testing::HasSubstr("Either manifestString() should be overridden"));
}

TEST(Error, remarksOnOneThatIsNoneAndHasOneThatNeedsNoMemory)
{
    const IString* const constant = outOfMemory().errorMessage;
    EXPECT_EQ(1u, constant->addRef());
    EXPECT_EQ(1u, constant->releaseRef());
    EXPECT_STREQ("Not enough memory", constant->str());
    testing::internal::CaptureStderr();
    test::takeMessage(Result<void>(error(ErrorCode::noError, "")));
    const std::string told = testing::internal::GetCapturedStderr();
    for (const char* const text :
         {"Error code must differ from `ErrorCode::noError`\n",
          "Error message must not be empty\n"})
        EXPECT_THAT(told, testing::HasSubstr(text));
}

} // namespace

} // namespace tavo::sdk::analytics
