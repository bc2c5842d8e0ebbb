#include <tavo/sdk/helpers/lib_context.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

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

} // namespace

} // namespace tavo::sdk
