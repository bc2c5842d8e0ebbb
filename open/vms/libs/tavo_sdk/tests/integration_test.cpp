#include <tavo/sdk/analytics/helpers/integration.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/helpers/error.h>

#include "host_doubles.h"

namespace tavo::sdk::analytics
{

namespace
{

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class TestIntegration : public Integration
{
public:
    explicit TestIntegration(std::string manifest = {}, CreateEngine createEngine = {}) :
        Integration(std::move(manifest), std::move(createEngine))
    {}

    int engineRequests = 0;

protected:
    Result<IEngine*> doObtainEngine() override
    {
        ++engineRequests;
        return error(ErrorCode::otherError, "No engine today");
    }

    std::string manifestString() const override { return "{}"; }
};

class BareIntegration : public Integration
{};

TEST(Integration, answersToItsNamesInOrder)
{
    const auto integration = makePtr<TestIntegration>();
    for (const char* const id :
         {"tavo::sdk::analytics::IIntegration", "tavo::sdk::analytics::IPlugin",
          "tavo::sdk::IIntegration", "tavo::sdk::IPlugin", "tavo::sdk::IRefCountable"})
        EXPECT_EQ(Ptr(integration->queryInterface(id)).get(), integration.get()) << id;
    EXPECT_EQ(test::refCount(integration.get()), 1u);
    EXPECT_STREQ(integration->reservedText(), "");
}

TEST(Integration, holdsOneReferenceToTheProvider)
{
    auto provider = makePtr<test::UtilityProvider>();
    auto integration = makePtr<TestIntegration>();
    EXPECT_EQ(integration->utilityProvider(), nullptr);
    for (int i = 0; i < 2; ++i)
    {
        integration->setUtilityProvider(provider.get());
        EXPECT_EQ(test::refCount(provider.get()), 2u);
    }
    EXPECT_EQ(integration->utilityProvider(), provider);
    integration->setUtilityProvider(makePtr<test::UtilityProvider>().get());
    EXPECT_EQ(test::refCount(provider.get()), 1u);
    EXPECT_EQ(test::UtilityProvider::alive(), 2);
    integration.reset();
    EXPECT_EQ(test::UtilityProvider::alive(), 1);
}

TEST(Integration, asksForAnEngineEachTime)
{
    const auto integration = makePtr<TestIntegration>();
    EXPECT_EQ(test::takeText(integration->manifest()), "{}");
    for (int i = 1; i <= 2; ++i)
    {
        testing::internal::CaptureStderr();
        EXPECT_EQ(test::takeMessage(integration->obtainEngine()), "No engine today");
        EXPECT_THAT(
            testing::internal::GetCapturedStderr(),
            HasSubstr("ERROR: unnamed_lib_context: No engine today\n"));
        EXPECT_EQ(integration->engineRequests, i);
    }
}

TEST(Integration, prefersWhatTheConstructorWasGiven)
{
    const auto integration =
        makePtr<TestIntegration>("fixed", [](Integration*) { return nullptr; });
    EXPECT_EQ(test::takeText(integration->manifest()), "fixed");
    const Result<IEngine*> result = integration->obtainEngine();
    EXPECT_EQ(result.errorCode, ErrorCode::otherError);
    EXPECT_EQ(test::takeMessage(result), "Unable to create Engine");
    EXPECT_EQ(integration->engineRequests, 0);
}

TEST(Integration, complainsOfWhatASubclassForgot)
{
    const auto integration = makePtr<BareIntegration>();
    testing::internal::CaptureStderr();
    EXPECT_EQ(test::takeText(integration->manifest()), "");
    const Result<IEngine*> result = integration->obtainEngine();
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result.errorCode, ErrorCode::internalError);
    EXPECT_THAT(told, HasSubstr("Either manifestString() should be overridden"));
    EXPECT_THAT(told, HasSubstr(test::takeMessage(result)));
}

TEST(Integration, tellsWhenItComesAndGoes)
{
    testing::internal::CaptureStderr();
    makePtr<TestIntegration>().reset();
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        MatchesRegex("\\[unnamed_lib_context\\] Created IIntegration @0x[0-9a-f]+ of "
                     "unnamed_lib_context\n"
                     "\\[unnamed_lib_context\\] Destroyed IIntegration @0x[0-9a-f]+ of "
                     "unnamed_lib_context\n"));
}

} // namespace

} // namespace tavo::sdk::analytics
