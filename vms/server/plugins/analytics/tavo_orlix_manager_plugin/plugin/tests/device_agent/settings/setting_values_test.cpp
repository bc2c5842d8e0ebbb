#include "device_agent/settings/setting_values.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device_agent/settings/figures.h"
#include "device_agent/settings/settings_cache.h"
#include "temporary_folder.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using testing::ElementsAre, testing::IsEmpty, testing::Pair, testing::UnorderedElementsAre;

using enum FigureOutcome;

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
    for (const char* const value : {"false", "True", "1", "true ", ""})
        EXPECT_FALSE(applied({{"deviceActiveSwitch", value}}).deviceActive) << value;
    EXPECT_THAT(
        applied({{"visualise_person", "true"},
                 {"visualise_car", "TRUE"},
                 {"not_visualise_dog", "true"}})
            .visualiseClasses,
        UnorderedElementsAre(Pair("person", true), Pair("car", false)));
}

TEST(SettingValues, DumpingNeedsBothSettingsAndItsProcessorAndTimesNumbers)
{
    const SettingValues both = {
        {"dumpingDetectionObjectType", "bag"}, {"dumpingDetectionTimeThreshold", "15"}};
    EXPECT_TRUE(applied(both, {"x", "Illegal Dumping"}).dumpingEnabled);
    const DeviceSettings loitering = applied(both, {"LoiteringDetection"});
    EXPECT_TRUE(loitering.loiteringEnabled && !loitering.dumpingEnabled);
    EXPECT_FALSE(applied(both).loiteringEnabled);
    for (const auto& present : both)
        EXPECT_FALSE(applied({present}, {"Illegal Dumping"}).dumpingEnabled) << present.first;

    EXPECT_THROW(
        applied({{"dumpingDetectionTimeThreshold", "99999999999999999999"}}),
        std::invalid_argument);
}

TEST(SettingValues, WhatIsGoneResetsItsField)
{
    DeviceSettings settings;
    settings.processors = {"Illegal Dumping"};
    applySettingValues(
        {{"deviceActiveSwitch", "true"},
         {"dumpingDetectionObjectType", "bag"},
         {"dumpingDetectionTimeThreshold", "15"},
         {"loiterDetectionTimeThreshold", "77"},
         {"loiterDetectionObjectClass", "dog"},
         {"externalprocessor.a", "1"},
         {"maskType", "exclusive"},
         {"polygon1.figure", "broken"},
         {"polygon2.figure", R"({"figure": {"points": [[0.5, 0]]}})"},
         {"polygon4.figure", R"({"figure": {"points": [[1, 1]]}})"},
         {"lineCrossingLine", R"({"figure": {"points": [[0.0, 0.0], [1.0, 1.0]]}})"},
         {"cropBox", R"({"figure": {"points": [[0, 0], [1, 1]]}})"},
         {"visualise_car", "false"}},
        settings);
    EXPECT_THAT(settings.masks, ElementsAre(ElementsAre(0.5f, 0))) << "to the first missing one";
    EXPECT_FALSE(settings.line.empty() || settings.cropBox.empty());
    EXPECT_EQ(77, settings.loiterTimeThreshold);
    EXPECT_EQ(15, settings.dumpingTimeThreshold);
    EXPECT_EQ("bag", settings.dumpingObjectType);
    EXPECT_EQ("dog", settings.loiterObjectClass);
    EXPECT_EQ("exclusive", settings.maskType);
    EXPECT_THAT(settings.externalProcessorSettings, ElementsAre(Pair("externalprocessor.a", "1")));

    applySettingValues({}, settings);
    EXPECT_FALSE(settings.deviceActive || settings.dumpingEnabled);
    EXPECT_EQ(0, settings.dumpingTimeThreshold);
    EXPECT_EQ("", settings.dumpingObjectType);
    EXPECT_EQ(30, settings.loiterTimeThreshold);
    EXPECT_EQ("person", settings.loiterObjectClass);
    EXPECT_EQ("inclusive", settings.maskType);
    EXPECT_TRUE(settings.externalProcessorSettings.empty() && settings.visualiseClasses.empty());
    EXPECT_TRUE(settings.masks.empty() && settings.line.empty() && settings.cropBox.empty());
}

TEST(Figures, AreTakenOrRefusedByTheirKind)
{
    const struct
    {
        Figure (*parse)(std::string_view);
        std::string points;
        FigureOutcome outcome;
        std::vector<float> coordinates;
    } kCases[] = {
        {parsePolygon, "[[0.25, 1], [-2, 18446744073709551615]]", parsed, {0.25f, 1, -2, 0x1p64f}},
        {parsePolygon, R"([["0.5", null], [true, [1]]])", parsed, {0, 0, 0, 0}},
        {parsePolygon, "[[0.5], [], 0.5, [1, 2, 3]]", parsed, {0.5f, 0, 0, 0, 0, 0, 1, 2}},
        {parsePolygon, "[[1e300, -1e300]]", parsed, {3.4028235e38f, -3.4028235e38f}},
        // Of a line only real numbers count.
        {parseLine, "[[0.5, 1], [1, 0.25], [0.5, 0.6]]", parsed, {0.5f, 0, 0, 0.25f}},
        {parseLine, "[[0.1, 0.2]]", wrongShape, {}},
        // A box is strict in shape, clamped and ordered.
        {parseBox, "[[0.8, 0.2], [0.1, 0.9]]", parsed, {0.1f, 0.2f, 0.8f, 0.9f}},
        {parseBox, "[[1.5, 7], [-0.5, -3]]", parsed, {0, 0, 1, 1}},
        {parseBox, R"([["a", 0.5], [null, 0.75]])", parsed, {0, 0.5f, 0, 0.75f}},
        {parseBox, "[[0.1, 0.2], [0.3, 0.4], [0.5, 0.6]]", wrongShape, {}},
        {parseBox, "[[0.1, 0.2, 0.3], [0.3, 0.4]]", wrongShape, {}},
        {parseBox, "[[0.1, 0.2], [0.3]]", wrongShape, {}},
        {parseBox, "[0.1, 0.2]", wrongShape, {}},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.points);
        const Figure figure = c.parse(R"({"figure": {"points": )" + c.points + "}}");
        EXPECT_EQ(c.outcome, figure.outcome);
        EXPECT_EQ(c.coordinates, figure.coordinates);
    }
    for (const char* const text : {"", R"({"figure": )"})
        EXPECT_EQ(notJson, parseBox(text).outcome) << text;
    for (const char* const text : {"null", R"({"figure": [1]})", R"({"figure": {"points": {}}})"})
        EXPECT_EQ(noPoints, parsePolygon(text).outcome) << text;
}

TEST(SettingsCache, KeepsWhatItCanButNotWhatOthersKnowBetter)
{
    const TemporaryFolder folder;
    const std::string path = settingsCachePath(folder.path(), "id");
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

    EXPECT_THAT(loadSettingsCache(folder.path("missing")), IsEmpty());
    folder.write("id_settings_cache.txt.new/in the way", "");
    const test::CapturedLog log;
    saveSettingsCache(path, {{"a", "new"}});
    EXPECT_THAT(
        log.text(),
        testing::HasSubstr("Failed to open settings cache for writing: " + path + "\n"));
    EXPECT_THAT(loadSettingsCache(path), testing::Contains(Pair("b", "1=2"))) << "whole or not";
    const std::string big(20000, 'v'); // more than one read
    folder.write("cache", "key=1\nkey=" + big + "\nlast=without a line end");
    EXPECT_THAT(
        loadSettingsCache(folder.path("cache")),
        ElementsAre(Pair("key", big), Pair("last", "without a line end")));
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
