#include <gtest/gtest.h>

#include "options.h"
#include "user_settings.h"

namespace tavo::devkit
{

namespace
{

std::optional<int> parse(std::vector<const char*> arguments, Options* options)
{
    arguments.insert(
        arguments.begin(), {"tavo_host", "--plugin", "p", "--work-dir", "w", "--video", "v"});
    return parseOptions(int(arguments.size()), arguments.data(), options);
}

} // namespace

TEST(OptionsTest, readsALine)
{
    Options options;
    ASSERT_EQ(
        parse(
            {"--cameras", "16", "--seconds", "2.5", "--fast", "--size", "640x360", "--press",
             "0:libraryChoiceX@3", "--press", "*:a:b@c@1.5", "--metadata", "-"},
            &options),
        std::nullopt);
    EXPECT_EQ(options.cameras, 16);
    EXPECT_EQ(options.seconds, 2.5);
    EXPECT_TRUE(options.fast);
    ASSERT_TRUE(options.size);
    EXPECT_EQ(options.size->width, 640);
    EXPECT_EQ(options.size->height, 360);
    EXPECT_EQ(options.metadataFile, "-");
    ASSERT_EQ(options.presses.size(), 2u);
    EXPECT_EQ(options.presses[0].device, "0");
    EXPECT_EQ(options.presses[0].button, "libraryChoiceX");
    EXPECT_EQ(options.presses[0].atSeconds, 3);
    EXPECT_EQ(options.presses[1].device, "*");
    EXPECT_EQ(options.presses[1].button, "a:b@c");
    EXPECT_EQ(options.presses[1].atSeconds, 1.5);
}

TEST(OptionsTest, refusesAWrongLineWithAnExitCode)
{
    const std::vector<const char*> kLines[] = {
        {"--size", "640"},          {"--size", "0x10"},      {"--size", "10x10x"},
        {"--press", "0:button"},    {"--press", "button@1"}, {"--press", "0:@1"},
        {"--press", "0:button@-1"}, {"--cameras", "0"},      {"--fast", "--realtime"},
        {"--settings", "/no/such"}, {"--unknown"},
    };
    for (const auto& line : kLines)
    {
        SCOPED_TRACE(std::string(line.front()) + " " + line.back());
        Options options;
        EXPECT_NE(parse(line, &options).value_or(0), 0);
    }
}

TEST(UserSettingsTest, valuesOfADeviceStandAboveThoseOfAll)
{
    const UserSettings settings = UserSettings::parse(
        R"({"*": {"a": "all", "b": true}, "{AB}": {"a": "own", "line": {"figure": [0.5]}}})");
    EXPECT_EQ(
        settings.valuesFor("ab"),
        (SettingValues{{"a", "own"}, {"b", "true"}, {"line", R"({"figure":[0.5]})"}}));
    EXPECT_EQ(settings.valuesFor("cd"), (SettingValues{{"a", "all"}, {"b", "true"}}));
    EXPECT_THROW(UserSettings::parse(R"({"*": 1})"), std::runtime_error);
}

TEST(UserSettingsTest, valuesSurviveTheStore)
{
    const SettingValues values{{"a b", "line\nbreak \"quoted\""}, {"visualise_person", ""}};
    EXPECT_EQ(parseSettingValues(toJson(values)), values);
    EXPECT_TRUE(parseSettingValues("no JSON").empty());
}

} // namespace tavo::devkit
