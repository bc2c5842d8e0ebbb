#include "device_agent/setting_values.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device_agent/settings_cache.h"
#include "temporary_folder.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

DeviceSettings applied(const SettingValues& values, std::vector<std::string> processors = {})
{
    DeviceSettings settings;
    settings.processors = std::move(processors);
    applySettingValues(values, settings);
    return settings;
}

TEST(SettingValues, OnlyTheExactTextIsTrue)
{
    EXPECT_TRUE(applied({{"deviceActiveSwitch", "true"}}).deviceActive);
    for (const char* const value : {"false", "True", "TRUE", "1", "true ", ""})
        EXPECT_FALSE(applied({{"deviceActiveSwitch", value}}).deviceActive) << value;
    EXPECT_FALSE(applied({}).deviceActive);

    EXPECT_THAT(
        applied({{"visualise_person", "true"},
                 {"visualise_car", "TRUE"},
                 {"visualise_traffic light", "false"},
                 {"visualise_", "true"},
                 {"visualise", "true"},
                 {"not_visualise_dog", "true"}})
            .visualiseClasses,
        UnorderedElementsAre(
            Pair("person", true), Pair("car", false), Pair("traffic light", false),
            Pair("", true)));
}

TEST(SettingValues, DumpingNeedsBothSettingsAndItsProcessor)
{
    const SettingValues both = {
        {"dumpingDetectionObjectType", "bag"}, {"dumpingDetectionTimeThreshold", "15"}};
    const DeviceSettings on = applied(both, {"x", "Illegal Dumping"});
    EXPECT_TRUE(on.dumpingEnabled);
    EXPECT_EQ("bag", on.dumpingObjectType);
    EXPECT_EQ(15, on.dumpingTimeThreshold);

    EXPECT_FALSE(applied(both, {"LoiteringDetection"}).dumpingEnabled);
    for (const auto& missing : both)
    {
        SettingValues one = both;
        one.erase(missing.first);
        EXPECT_FALSE(applied(one, {"Illegal Dumping"}).dumpingEnabled) << missing.first;
    }
}

TEST(SettingValues, LoiteringHasDefaults)
{
    const DeviceSettings defaults = applied({}, {"LoiteringDetection"});
    EXPECT_TRUE(defaults.loiteringEnabled);
    EXPECT_EQ(30, defaults.loiterTimeThreshold);
    EXPECT_EQ("person", defaults.loiterObjectClass);

    const DeviceSettings set = applied(
        {{"loiterDetectionTimeThreshold", "77"}, {"loiterDetectionObjectClass", "dog"}}, {});
    EXPECT_FALSE(set.loiteringEnabled);
    EXPECT_EQ(77, set.loiterTimeThreshold);
    EXPECT_EQ("dog", set.loiterObjectClass);
}

TEST(SettingValues, ATimeThatIsNoNumberThrows)
{
    EXPECT_THROW(applied({{"loiterDetectionTimeThreshold", "soon"}}), std::invalid_argument);
    EXPECT_THROW(applied({{"dumpingDetectionTimeThreshold", ""}}), std::invalid_argument);
    EXPECT_THROW(
        applied({{"dumpingDetectionTimeThreshold", "99999999999999999999"}}), std::out_of_range);
}

TEST(SettingValues, ExternalProcessorsKeepTheirWholeKey)
{
    EXPECT_THAT(
        applied({{"externalprocessor.blur.size", "3"},
                 {"externalprocessor.", ""},
                 {"externalprocessors.x", "no"},
                 {"externalprocesso", "no"}})
            .externalProcessorSettings,
        UnorderedElementsAre(
            Pair("externalprocessor.blur.size", "3"), Pair("externalprocessor.", "")));
}

TEST(SettingValues, MasksAreWalkedUntilTheFirstMissingNumber)
{
    const std::string triangle = R"({"figure": {"points": [[0.5, 0], [1, 1], [0, 1]]}})";
    const std::vector<float> points = {0.5f, 0, 1, 1, 0, 1};
    EXPECT_THAT(
        applied({{"polygon1.figure", triangle}, {"polygon3.figure", triangle}}).masks,
        ElementsAre(points));
    EXPECT_THAT(
        applied({{"polygon1.figure", "broken"},
                 {"polygon2.figure", triangle},
                 {"polygon3.figure", "{}"},
                 {"polygon4.figure", R"({"figure": {"points": []}})"}})
            .masks,
        ElementsAre(points, IsEmpty()));
    EXPECT_EQ("inclusive", applied({}).maskType);
    EXPECT_EQ("exclusive", applied({{"maskType", "exclusive"}}).maskType);
}

TEST(SettingValues, FiguresThatCannotBeUsedAreNone)
{
    const auto figure = [](const char* points)
    { return std::string(R"({"figure": {"points": )") + points + "}}"; };
    EXPECT_THAT(
        applied({{"lineCrossingLine", figure("[[0.0, 0.5], [1.0, 0.25]]")}}).line,
        ElementsAre(0, 0.5f, 1, 0.25f));
    EXPECT_THAT(applied({{"lineCrossingLine", figure("[[0.0, 0.5]]")}}).line, IsEmpty());
    EXPECT_THAT(applied({{"lineCrossingLine", ""}}).line, IsEmpty());
    EXPECT_THAT(
        applied({{"cropBox", figure("[[0.75, 0.5], [0.25, 2]]")}}).cropBox,
        ElementsAre(0.25f, 0.5f, 0.75f, 1));
    EXPECT_THAT(applied({{"cropBox", figure("[[0, 0]]")}}).cropBox, IsEmpty());
}

TEST(SettingValues, WhatIsGoneResetsItsField)
{
    DeviceSettings settings;
    settings.processors = {"Illegal Dumping"};
    applySettingValues(
        {{"deviceActiveSwitch", "true"},
         {"dumpingDetectionObjectType", "bag"},
         {"dumpingDetectionTimeThreshold", "15"},
         {"loiterDetectionObjectClass", "dog"},
         {"externalprocessor.a", "1"},
         {"maskType", "exclusive"},
         {"polygon1.figure", R"({"figure": {"points": [[0, 0]]}})"},
         {"lineCrossingLine", R"({"figure": {"points": [[0.0, 0.0], [1.0, 1.0]]}})"},
         {"cropBox", R"({"figure": {"points": [[0, 0], [1, 1]]}})"},
         {"visualise_car", "false"}},
        settings);
    EXPECT_FALSE(settings.masks.empty() || settings.line.empty() || settings.cropBox.empty());

    applySettingValues({}, settings);
    EXPECT_FALSE(settings.deviceActive);
    EXPECT_FALSE(settings.dumpingEnabled);
    EXPECT_EQ("person", settings.loiterObjectClass);
    EXPECT_EQ("inclusive", settings.maskType);
    EXPECT_TRUE(settings.externalProcessorSettings.empty());
    EXPECT_TRUE(settings.masks.empty());
    EXPECT_TRUE(settings.line.empty());
    EXPECT_TRUE(settings.cropBox.empty());
    EXPECT_TRUE(settings.visualiseClasses.empty());
}

TEST(SettingsCache, KeepsAllButWhatOthersKnowBetter)
{
    const TemporaryFolder folder;
    const std::string path = settingsCachePath(folder.path(), "id");
    EXPECT_EQ(folder.path("id_settings_cache.txt"), path);
    saveSettingsCache(path, {{"old", "value that a shorter file must not keep"}});
    saveSettingsCache(
        path,
        {{"b", "1=2"},
         {"a", ""},
         {"selectedPipeline", "uuid"},
         {"deviceActiveSwitch", "true"},
         {"lines", "first\nlost\nx=y"}});
    EXPECT_EQ("a=\nb=1=2\nlines=first\nlost\nx=y\n", folder.read("id_settings_cache.txt"));
    EXPECT_THAT(
        loadSettingsCache(path),
        ElementsAre(Pair("a", ""), Pair("b", "1=2"), Pair("lines", "first"), Pair("x", "y")));
}

TEST(SettingsCache, ReadsWhatItCan)
{
    const TemporaryFolder folder;
    EXPECT_THAT(loadSettingsCache(folder.path("missing")), IsEmpty());
    EXPECT_THAT(loadSettingsCache(folder.path()), IsEmpty()) << "a folder";
    folder.write("cache", "no separator\n\nkey=1\nkey=2\nlast=without a line end");
    EXPECT_THAT(
        loadSettingsCache(folder.path("cache")),
        ElementsAre(Pair("key", "2"), Pair("last", "without a line end")));
    const std::string big(20000, 'v');
    folder.write("big", "a=" + big + "\nb=" + big + "\n");
    EXPECT_THAT(loadSettingsCache(folder.path("big")), ElementsAre(Pair("a", big), Pair("b", big)));

    saveSettingsCache(folder.path(), {{"a", "b"}}); // a folder: no effect
    saveSettingsCache(folder.path("no/such/folder"), {{"a", "b"}});
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
