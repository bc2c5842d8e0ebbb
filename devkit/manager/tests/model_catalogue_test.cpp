#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>

#include <opencv2/imgproc.hpp>

#include "engine/model_catalogue.h"
#include "temporary_folder.h"

namespace tavo::devkit
{
namespace
{

using vms_server_plugins::analytics::orlix::TemporaryFolder;

TEST(ClassNames, outOfAnOutputsName)
{
    const struct
    {
        const char* output;
        std::map<int, std::string> names;
    } kCases[] = {
        {"bboxes-format:xyxy;0:person;1:car", {{0, "person"}, {1, "car"}}},
        {"bboxes-format:xyxy;7:traffic light;", {{7, "traffic light"}}},
        {"scores;0:person", {}},
        {"bboxes", {}},
        {"bboxes;person;1;2:;x:y;3:dog", {{2, ""}, {3, "dog"}}}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.output);
        EXPECT_EQ(classNamesOf(c.output), c.names);
    }
}

TEST(ModelCatalogue, whatCannotBeLoadedIsSaid)
{
    const TemporaryFolder folder;
    const struct
    {
        const char* name;
        const char* settings;
        const char* engine;
    } kCases[] = {
        {"no JSON", "[{", ""},
        {"no array", "{}", ""},
        {"file missing", R"([{"UUID":"u","Name":"n","Filepath":"/nonexistent.onnx"}])", ""},
        {"unknown engine", "[]", "turbo"}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        folder.write("settings.json", c.settings);
        EXPECT_THROW(ModelCatalogue(folder.path("settings.json"), c.engine), std::runtime_error);
    }
    EXPECT_NO_THROW(ModelCatalogue(folder.path("missing.json"), ""));
}

TEST(ModelCatalogue, modelsNameClassesAndAnEngineReplacesThemAll)
{
    const TemporaryFolder folder;
    folder.write(
        "settings.json",
        R"([{"UUID":"plain","Name":"Motion","Filepath":"/x"},
            {"UUID":"named","Name":"fast motion","Filepath":"/x",
             "NamedOutput":[{"Name":"labels"},{"Name":"bboxes-format:xyxy;0:visitor"}]},
            {"UUID":"other","Name":"motion","Filepath":"/x",
             "NamedOutput":[{"Name":"bboxes-format:xyxy;1:visitor"}]}])");
    const cv::Mat empty = cv::Mat::zeros(240, 320, CV_8UC3);
    cv::Mat moved = empty.clone();
    cv::rectangle(moved, {50, 60, 40, 50}, {200, 200, 200}, cv::FILLED);
    const auto classOf = [&](ModelCatalogue& models, const char* uuid) -> std::string
    {
        (void)models.detect(uuid, 0.5f, empty, 7);
        const auto seen = models.detect(uuid, 0.5f, moved, 7);
        return seen.empty() ? "none" : seen[0].className;
    };

    ModelCatalogue models(folder.path("settings.json"), "");
    EXPECT_EQ(classOf(models, "plain"), "motion");
    EXPECT_EQ(classOf(models, "named"), "visitor");
    EXPECT_EQ(classOf(models, "other"), "none");
    EXPECT_EQ(classOf(models, "unassigned"), "none"); // nobody is in the picture
    EXPECT_NE(models.identityOf("plain"), models.identityOf("named"));

    ModelCatalogue fixed(folder.path("settings.json"), "motion");
    EXPECT_EQ(classOf(fixed, "named"), "motion");
    EXPECT_EQ(fixed.identityOf("plain"), fixed.identityOf("named"));
}

} // namespace
} // namespace tavo::devkit
