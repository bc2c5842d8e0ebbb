// What is made of a pipeline configuration, and of changed sensitivities.
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device_agent/model_nms.h"
#include "device_agent/pipeline_parsing.h"
#include "device_agent/pipeline_tree.h"
#include "remote/text_helpers.h"
#include "utils/json.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

struct ParsedPipelines
{
    std::vector<std::string> processors;
    std::vector<ModelNmsEntry> modelNms;
    std::string description;
};

ParsedPipelines parsed(const std::string& json)
{
    const JsonDocument document = parseJson(json);
    const auto tree = PipelineTree::fromJson(yyjson_doc_get_root(document.get()));
    ParsedPipelines result;
    parsePipelineNode(
        tree->root(), result.processors, {{"m1", "People"}, {"m2", "Cars"}}, result.modelNms,
        result.description, 0);
    EXPECT_EQ(mpack_ok, mpack_node_error(tree->root()));
    return result;
}

TEST(PipelineParsing, TellsNodesInOrderAndDepth)
{
    const ParsedPipelines result = parsed(R"([
        {"modelUUID": "m1", "modelNMS": 0.5, "Preprocessor": "Blur",
         "chains": [{"method": "crop", "modelUUID": "m2", "modelNMS": 1}]},
        {"modelUUID": "m3", "modelNMS": 0.25, "Postprocessor": "LineCrossing",
         "Preprocessor": "Blur"}])");
    EXPECT_EQ(
        "    People\n     Preprocessor: Blur\n"
        "        crop -> Cars\n"
        "    m3\n     Preprocessor: Blur\n     Postprocessor: LineCrossing\n",
        result.description);
    EXPECT_THAT(result.processors, ElementsAre("Blur", "Blur", "LineCrossing"));
    ASSERT_EQ(3u, result.modelNms.size());
    EXPECT_EQ("m1", result.modelNms[0].modelUUID);
    EXPECT_EQ("People", result.modelNms[0].modelName);
    EXPECT_FLOAT_EQ(0.5f, result.modelNms[0].nms);
    EXPECT_EQ("Cars", result.modelNms[1].modelName);
    EXPECT_FLOAT_EQ(1, result.modelNms[1].nms);
    EXPECT_EQ("m3", result.modelNms[2].modelName) << "not among the models";
    EXPECT_FLOAT_EQ(0.25f, result.modelNms[2].nms);
}

TEST(PipelineParsing, TakesSingleNodesAndWhatIsNotAsItShouldBe)
{
    EXPECT_EQ(
        "People\n    Cars\n",
        parsed(R"({"modelUUID": "m1", "chains": {"modelUUID": "m2"}})").description);
    EXPECT_EQ("        People\n", parsed(R"([[{"modelUUID": "m1"}]])").description);
    // One bad node costs neither its neighbours nor the tree.
    const ParsedPipelines result = parsed(R"([
        7, "text", {"modelUUID": 1, "modelNMS": "0.5", "Preprocessor": 2, "method": 3},
        {"modelUUID": "m1", "modelNMS": 0.5, "Preprocessor": "", "chains": "none"}])");
    EXPECT_EQ("     -> \n    People\n", result.description);
    EXPECT_THAT(result.processors, IsEmpty());
    ASSERT_EQ(2u, result.modelNms.size());
    EXPECT_EQ(0, result.modelNms[0].nms);
    EXPECT_EQ("", result.modelNms[0].modelUUID);
}

TEST(DeviceModels, LeavesOutModelsWithoutIdOrName)
{
    const JsonDocument document = parseJson(R"([
        {"UUID": "m1", "Name": "People", "NamedOutput": [{"Name": "a"}, {"Nom": "x"}, {"Name": "b"}]},
        {"UUID": "m2", "NamedOutput": [{"Name": "lost"}]}, {"Name": "Nobody"}, 3,
        {"UUID": "m3", "Name": "Cars"}])");
    const DeviceModels models = readModels(yyjson_doc_get_root(document.get()));
    EXPECT_THAT(models.names, UnorderedElementsAre(Pair("m1", "People"), Pair("m3", "Cars")));
    EXPECT_THAT(models.outputNames, ElementsAre("a", "b"));
    EXPECT_TRUE(readModels(nullptr).names.empty());
}

TEST(DetectionClasses, AreThoseOfBoxOutputsOnceAndSorted)
{
    EXPECT_THAT(
        detectionClasses(
            {"bboxes-format:xyxy;0:person;1:car", "scores;0:cat",
             "my-bboxes;7:traffic light;0:car;8:\xC3\xA4pfel;9:Zebra", "bboxes",
             "bboxes-format:xyxy", "bboxes;no colon;;3:;4:a:b;"}),
        ElementsAre("Zebra", "a:b", "car", "person", "traffic light", "\xC3\xA4pfel"));
}

TEST(ModelNms, APercentageOfHundredIsAValueOfZero)
{
    const std::vector<ModelNmsEntry> entries = {
        {0.58f, "People", "m1"}, {0.3f, "Cars", "m2"}, {0.9f, "Dogs", "m3"}};
    const struct
    {
        const char* name;
        std::map<std::string, std::string> values;
        bool changed;
        std::map<std::string, float> nms;
    } kCases[] = {
        {"unchanged",
         {{"model_nms_m1", "42"}, {"model_nms_m2", "70"}, {"model_nms_m3", "10"}},
         false,
         {{"m1", 0.58f}, {"m2", 0.3f}, {"m3", 0.9f}}},
        {"changed",
         {{"model_nms_m1", "100"}, {"model_nms_m2", "70"}},
         true,
         {{"m1", 0}, {"m2", 0.3f}}},
        {"as a real number", {{"model_nms_m1", "1.0"}}, true, {{"m1", 0.99f}}},
        {"zero and no number keep",
         {{"model_nms_m1", "0"}, {"model_nms_m2", "much"}},
         false,
         {{"m1", 0.58f}, {"m2", 0.3f}}},
        {"the first missing ends it", {{"model_nms_m2", "1"}, {"model_nms_m3", "1"}}, false, {}},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        const NmsChanges changes = readNmsChanges(entries, c.values);
        EXPECT_EQ(c.changed, changes.changed);
        ASSERT_EQ(c.nms.size(), changes.values.size());
        for (const auto& [id, value] : c.nms)
            EXPECT_NEAR(value, changes.values.at(id), 1e-6f);
    }
}

TEST(ModelNms, EndsForAnyNumberOfNodes)
{
    const std::vector<ModelNmsEntry> entries(1000, {0.5f, "People", "m1"});
    EXPECT_FALSE(readNmsChanges(entries, {{"model_nms_m1", "50"}}).changed);
}

TEST(ModelNms, RewritesTheTopLevelAlone)
{
    const JsonDocument document = parseJson(R"([
        {"modelUUID": "m1", "modelNMS": 0.5, "modelNMS": 0.6, "x": {"y": [1]},
         "chains": [{"modelUUID": "m1", "modelNMS": 0.5}]},
        {"modelUUID": "m2", "modelNMS": 0.5}, ["no node"], {"modelNMS": 0.5}])");
    EXPECT_EQ(
        R"({"parameters":{"tavoAI":{"pipelines":[)"
        R"({"modelUUID":"m1","x":{"y":[1]},"chains":[{"modelUUID":"m1","modelNMS":0.5}],"modelNMS":0.25},)"
        R"({"modelUUID":"m2","modelNMS":0.5},["no node"],{"modelNMS":0.5}]}}})",
        jsonToText(makeNmsPatch(yyjson_doc_get_root(document.get()), {{"m1", 0.25f}, {"m9", 1}})));
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
