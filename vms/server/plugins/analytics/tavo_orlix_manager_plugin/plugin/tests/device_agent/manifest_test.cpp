#include "device_agent/manifest_builder.h"

#include <gtest/gtest.h>

#include "device_agent/type_ids.h"
#include "utils/json.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kFixedEventTypes[] =
    R"({"id":"tavo.orlix.fps","name":"Frames per second"},)"
    R"({"id":"tavo.orlix.counted","name":"Objects counted"},)"
    R"({"id":"tavo.orlix.loiter_alarm","name":"Loiterer detected"},)"
    R"({"id":"tavo.orlix.category","name":"Category detected"},)"
    R"({"id":"tavo.orlix.linecrossing","name":"Line crossing detected"},)"
    R"({"id":"tavo.orlix.dumping","name":"Illegal dumping detected"})";

std::string manifest(const std::string& eventTypes, const std::string& objectTypes)
{
    return R"({"eventTypes":[)" + std::string(kFixedEventTypes) + eventTypes +
        R"(],"objectTypes":[)" + objectTypes + "]}";
}

TEST(EngineManifest, AsksForRgbFramesOfTheSecondaryStream)
{
    EXPECT_EQ(
        R"({"capabilities":"needUncompressedVideoFrames_rgb","preferredStream":"secondary",)"
        R"("deviceAgentSettingsModel":{"type":"Settings","items":[{"type":"Banner","icon":"info",)"
        R"("text":"Enable the plugin and press Apply to start working with the plugin."}]}})",
        engineManifestBuilder());
}

TEST(DeviceManifest, IsTheFixedListWithoutAPipeline)
{
    EXPECT_EQ(manifest("", ""), makeDeviceManifest({}, nullptr));
}

TEST(DeviceManifest, DeclaresClassesAsMetadataNamesThem)
{
    DeviceSettings settings;
    settings.classes = {"1st.class-a", ".person", "traffic light"};
    settings.processors = {"Illegal Dumping", "Blur", "Illegal Dumping"};
    EXPECT_EQ(
        manifest(
            "",
            R"({"id":"tavo.orlix.1st.class_a","name":"1st.class-a"},)"
            R"({"id":"tavo.orlix._person","name":".person"},)"
            R"({"id":"tavo.orlix.traffic_light","name":"traffic light"},)"
            R"({"id":"tavo.orlix.anomaly","name":"anomaly"})"),
        makeDeviceManifest(settings, nullptr));
    EXPECT_EQ("tavo.orlix.traffic_light", objectTypeId("traffic light"));
}

TEST(DeviceManifest, TakesWhatExternalPostprocessorsDeclareInFull)
{
    const JsonDocument external = parseJson(R"({"externalPostprocessors": [
        {"Name": "A", "Events": [{"ID": "my event-1", "Name": "Mine"}, {"ID": "no name"}, 3],
         "Objects": [{"ID": "big bag-1", "Name": "Bag"}, {"Name": "no id"}, {"ID": 1, "Name": "x"}]},
        "no object", {"Name": "nothing"},
        {"Objects": [{"ID": "b", "Name": "B"}]}]})");
    EXPECT_EQ(
        manifest(
            R"(,{"id":"my event-1","name":"Mine"})",
            R"({"id":"tavo.orlix.big_bag-1","name":"Bag"},{"id":"tavo.orlix.b","name":"B"})"),
        makeDeviceManifest({}, yyjson_doc_get_root(external.get())));
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
