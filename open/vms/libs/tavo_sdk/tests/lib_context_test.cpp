#include <tavo/sdk/helpers/lib_context.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <tavo/sdk/exports.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/helpers/unit_test_options.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk
{

namespace
{

constexpr const char* kName = "a_name_that_needs_some_memory_of_its_own";
constexpr int kNameWasLost = 3;

// As an object of ours that a host holds in a variable at namespace scope: it ends after all that
// was built while the host ran.
struct LastObject
{
    bool isWatching = false;

    ~LastObject()
    {
        if (isWatching && libContext().name() != std::string(kName))
            std::_Exit(kNameWasLost);
    }
};
LastObject lastObject;

TEST(LibContext, isThereForTheLastObjectOfTheProcess)
{
    EXPECT_EXIT(
        {
            libContext().setName(kName);
            lastObject.isWatching = true;
            std::exit(EXIT_SUCCESS);
        },
        testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(LibContext, keepsItsNameAndCutsOneBeyondReason)
{
    const std::string tooLong(1000, 'n');
    LibContext context;
    context.setName(tooLong.c_str());
    EXPECT_EQ(tooLong.substr(0, 255), context.name());
    context.setName("another");
    EXPECT_EQ(tooLong.substr(0, 255), context.name());
}

TEST(LibContext, takesNoNameForOneAndRemarksOnASecondRegistry)
{
    testing::internal::CaptureStderr();
    for (const char* const none : {static_cast<const char*>(nullptr), ""})
    {
        LibContext context;
        context.setName(none);
        EXPECT_STREQ("incorrectly_named_lib_context", context.name());
        context.setName(none);
    }
    LibContext context;
    for (int i = 0; i < 2; ++i)
        context.setRefCountableRegistry(reinterpret_cast<IRefCountableRegistry*>(&context));
    const std::string told = testing::internal::GetCapturedStderr();
    const auto times = [&told](const std::string& text)
    {
        int count = 0;
        for (size_t at = 0; (at = told.find(text, at)) != std::string::npos; ++at)
            ++count;
        return count;
    };
    EXPECT_EQ(1, times("LibContext refCountableRegistry has already been set.\n"));
    for (const std::string none : {"(null).", "."})
        EXPECT_EQ(1, times("LibContext name from incorrectly_named_lib_context to " + none))
            << told;
    EXPECT_EQ(5, times("ASSERTION FAILED")) << told;
}

TEST(Exports, optionsAreReplacedAndClearedByNone)
{
    const std::map<std::string, std::string> options = {{"a", "1"}, {"b", "2"}};
    tavoSetUnitTestOptions(makePtr<StringMap>(options).get());
    EXPECT_EQ(options, unitTestOptions());
    tavoSetUnitTestOptions(nullptr);
    EXPECT_TRUE(unitTestOptions().empty());
    EXPECT_EQ(&libContext(), tavoLibContext());
    EXPECT_STREQ("6.1.3 R1", tavoSdkVersion());
}

} // namespace

} // namespace tavo::sdk
