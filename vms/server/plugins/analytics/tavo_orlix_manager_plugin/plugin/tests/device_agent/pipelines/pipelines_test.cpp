// What is made of a pipeline configuration, of what it declares, and of changed sensitivities.
#include <memory>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device_agent/manifest_builder.h"
#include "device_agent/pipelines/model_nms.h"
#include "device_agent/pipelines/pipeline_parsing.h"
#include "utils/json.h"
#include "utils/json_mpack.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using testing::ElementsAre, testing::Pair, testing::UnorderedElementsAre;

// "processors; sensitivities; description".
std::string parsed(const char* json)
{
    const JsonDocument document = parseJson(json);
    const auto tree = json_to_mpack_tree(yyjson_doc_get_root(document.get()));
    std::vector<std::string> processors;
    std::vector<ModelNmsEntry> entries;
    std::string description;
    parsePipelineNode(
        tree->root(), processors, {{"m1", "People"}, {"m2", "Cars"}}, entries, description, 0);
    EXPECT_EQ(mpack_ok, mpack_node_error(tree->root()));
    std::ostringstream text;
    for (const std::string& processor : processors)
        text << processor << " ";
    for (const ModelNmsEntry& entry : entries)
        text << "; " << entry.modelUUID << "=" << entry.nms;
    text << "; " << description;
    return text.str();
}

TEST(PipelineParsing, TellsNodesInOrderAndDepth)
{
    EXPECT_EQ(
        "Blur Blur LineCrossing ; m1=0.5; m2=1; m3=0.25; "
        "    People\n     Preprocessor: Blur\n        crop -> Cars\n"
        "    m3\n     Preprocessor: Blur\n     Postprocessor: LineCrossing\n",
        parsed(R"([{"modelUUID": "m1", "modelNMS": 0.5, "Preprocessor": "Blur",
                    "chains": [{"method": "crop", "modelUUID": "m2", "modelNMS": 1}]},
                   {"modelUUID": "m3", "modelNMS": 0.25, "Postprocessor": "LineCrossing",
                    "Preprocessor": "Blur"}])"));
    EXPECT_EQ(
        "; m1=0; m2=0; People\n    Cars\n",
        parsed(R"({"modelUUID": "m1", "chains": {"modelUUID": "m2"}})"));
    EXPECT_EQ("; m1=0;         People\n", parsed(R"([[{"modelUUID": "m1"}]])"));
    // One bad node costs neither its neighbours nor the tree.
    EXPECT_EQ(
        "; =0; m1=0.5;      -> \n    People\n",
        parsed(R"([7, "text", {"modelUUID": 1, "modelNMS": "0.5", "Preprocessor": 2, "method": 3},
                   {"modelUUID": "m1", "modelNMS": 0.5, "Preprocessor": "", "chains": "none"}])"));
}

TEST(Models, WithoutAnIdOrANameAreLeftOut)
{
    const JsonDocument models = parseJson(R"([
        {"UUID": "m1", "Name": "People", "NamedOutput": [{"Name": "a"}, {"Name": 1}, 2]},
        {"UUID": "no name", "NamedOutput": [{"Name": "b"}]}, {"Name": "no id"}, "no model",
        {"UUID": "m2", "Name": "Cars", "NamedOutput": [{"Name": "c"}]}])");
    const DeviceModels read = readModels(yyjson_doc_get_root(models.get()));
    EXPECT_THAT(read.names, UnorderedElementsAre(Pair("m1", "People"), Pair("m2", "Cars")));
    EXPECT_THAT(read.outputNames, ElementsAre("a", "c"));
}

TEST(DetectionClasses, AreThoseOfBoxOutputsOnceAndSorted)
{
    EXPECT_THAT(
        detectionClasses(
            {"bboxes-format:xyxy;0:person;1:car", "scores;0:cat",
             "my-bboxes;7:traffic light;0:car;8:\xC3\xA4pfel;9:Zebra", "bboxes",
             "bboxes;no colon;;3:;4:a:b;"}),
        ElementsAre("Zebra", "a:b", "car", "person", "traffic light", "\xC3\xA4pfel"));
}

TEST(Manifests, DeclareTypesAsMetadataNamesThem)
{
    EXPECT_EQ(
        R"({"capabilities":"needUncompressedVideoFrames_rgb","preferredStream":"secondary",)"
        R"("deviceAgentSettingsModel":{"type":"Settings","items":[{"type":"Banner","icon":"info",)"
        R"("text":"Enable the plugin and press Apply to start working with the plugin."}]}})",
        engineManifestBuilder());

    DeviceSettings settings;
    settings.classes = {"1st.class-a", ".person", "traffic light"};
    settings.processors = {"Illegal Dumping", "Blur", "Illegal Dumping"};
    const JsonDocument external = parseJson(R"({"externalPostprocessors": [
        {"Events": [{"ID": "my event-1", "Name": "Mine"}, {"ID": "no name"}, 3],
         "Objects": [{"ID": "big bag-1", "Name": "Bag"}, {"Name": "no id"}, {"ID": 1, "Name": "x"}]},
        "no object", {"Name": "nothing"}]})");
    EXPECT_THAT(
        makeDeviceManifest(settings, yyjson_doc_get_root(external.get())),
        testing::EndsWith(R"(,{"id":"my event-1","name":"Mine"}],"objectTypes":[)"
                          R"({"id":"tavo.orlix.1st.class_a","name":"1st.class-a"},)"
                          R"({"id":"tavo.orlix._person","name":".person"},)"
                          R"({"id":"tavo.orlix.traffic_light","name":"traffic light"},)"
                          R"({"id":"tavo.orlix.anomaly","name":"anomaly"},)"
                          R"({"id":"tavo.orlix.big_bag-1","name":"Bag"}]})"));
}

TEST(ModelNms, APercentageOfHundredIsAValueOfZero)
{
    const std::vector<ModelNmsEntry> entries = {
        {0.58f, "People", "m1"}, {0.3f, "Cars", "m2"}, {0.9f, "Dogs", "m3"}};
    const struct
    {
        std::map<std::string, std::string> values;
        bool changed;
        std::map<std::string, float> nms;
    } kCases[] = {
        {{{"model_nms_m1", "42"}, {"model_nms_m2", "70"}}, false, {{"m1", 0.58f}, {"m2", 0.3f}}},
        {{{"model_nms_m1", "100"}, {"model_nms_m2", "70"}}, true, {{"m1", 0}, {"m2", 0.3f}}},
        {{{"model_nms_m1", "1.0"}}, true, {{"m1", 0.99f}}},
        {{{"model_nms_m1", "0"}, {"model_nms_m2", "x"}}, false, {{"m1", 0.58f}, {"m2", 0.3f}}},
        // The first one that is missing ends it.
        {{{"model_nms_m2", "1"}, {"model_nms_m3", "1"}}, false, {}},
    };
    for (const auto& c : kCases)
    {
        const NmsChanges changes = readNmsChanges(entries, c.values);
        EXPECT_EQ(c.changed, changes.changed);
        ASSERT_EQ(c.nms.size(), changes.values.size());
        for (const auto& [id, value] : c.nms)
            EXPECT_NEAR(value, changes.values.at(id), 1e-6f);
    }
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
