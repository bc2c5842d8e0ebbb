#include <tavo/sdk/helpers/lib_context.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/exports.h>
#include <tavo/sdk/helpers/unit_test_options.h>

#include "host_doubles.h"

namespace tavo::sdk
{

namespace
{

using ::testing::HasSubstr;

TEST(LibContext, takesOneName)
{
    const struct
    {
        const char* name;
        std::vector<const char*> names;
        const char* result;
        const char* told; // part of it; empty: nothing
    } kCases[] = {
        {"none", {}, "unnamed_lib_context", ""},
        {"one", {"a"}, "a", ""},
        {"the same twice", {"a", "a"}, "a", ""},
        {"another",
         {"a", "b"},
         "a",
         "(m_name == kDefaultName || m_name == std::string(name)) "
         "Attempt to change LibContext name from a to b."},
        {"null", {nullptr}, "incorrectly_named_lib_context", "(name)"},
        {"empty", {""}, "incorrectly_named_lib_context", "(name[0] != '\\0')"},
        {"null after one", {"a", nullptr}, "a", "Attempt to change LibContext name from a to"},
        {"the default itself", {"unnamed_lib_context", "a"}, "a", ""}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        LibContext context;
        testing::internal::CaptureStderr();
        for (const char* const name : c.names)
            context.setName(name);
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_STREQ(context.name(), c.result);
        EXPECT_THAT(told, HasSubstr(c.told));
        EXPECT_EQ(told.empty(), *c.told == '\0') << told;
    }
}

TEST(LibContext, complainsOfASecondRegistryAndTakesIt)
{
    class Registry : public IRefCountableRegistry
    {
        void notifyCreated(const IRefCountable*, std::uint32_t) override {}
        void notifyDestroyed(const IRefCountable*, std::uint32_t) override {}
    };

    Registry first;
    Registry second;
    LibContext context;
    testing::internal::CaptureStderr();
    context.setRefCountableRegistry(&first);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    context.setRefCountableRegistry(&second);
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        HasSubstr(
            "(!m_refCountableRegistry) LibContext refCountableRegistry has already been set."));
    EXPECT_EQ(context.refCountableRegistry(), &second);
}

TEST(Exports, giveContextVersionAndOptions)
{
    EXPECT_EQ(tavoLibContext(), &libContext());
    EXPECT_STREQ(tavoSdkVersion(), "6.1.3 R1");

    const test::StdMap options = {{"a", "1"}, {"b", "2"}};
    tavoSetUnitTestOptions(makePtr<StringMap>(options).get());
    EXPECT_EQ(unitTestOptions(), options);
    tavoSetUnitTestOptions(makePtr<StringMap>(test::StdMap{{"c", "3"}}).get());
    EXPECT_EQ(unitTestOptions(), (test::StdMap{{"c", "3"}}));
    tavoSetUnitTestOptions(nullptr);
    EXPECT_EQ(unitTestOptions(), test::StdMap());
}

} // namespace

} // namespace tavo::sdk
