#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "manager_fixture.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

class ManagerSettingsTest : public test::ManagerFixture
{
protected:
    static constexpr char kFile[] = "orlix_manager/etc/settings.json";

    ManagerSettingsTest() { std::filesystem::create_directories(folder.path("orlix_manager/etc")); }

    static MutableJsonDocument document(const std::string& id)
    {
        auto document = newJsonDocument();
        auto* const root = yyjson_mut_arr(document.get());
        yyjson_mut_doc_set_root(document.get(), root);
        if (!id.empty())
        {
            auto* const model = yyjson_mut_arr_add_obj(document.get(), root);
            yyjson_mut_obj_add_strcpy(document.get(), model, "UUID", id.c_str());
        }
        return document;
    }

    static AssignedModels models(std::initializer_list<std::pair<const char*, const char*>> stamps)
    {
        AssignedModels models;
        for (const auto& [id, updatedAt] : stamps)
            models[id] = {id, "", updatedAt, "", "", "", false};
        return models;
    }

    bool update(const AssignedModels& assigned, bool force = false)
    {
        return manager.updateSettings(document("m"), assigned, force);
    }
};

TEST_F(ManagerSettingsTest, WritesThePrettyDocument)
{
    EXPECT_TRUE(update(models({{"m", "1"}})));
    EXPECT_EQ("[\n    {\n        \"UUID\": \"m\"\n    }\n]", folder.read(kFile));
    EXPECT_EQ(
        1,
        std::distance(std::filesystem::directory_iterator(folder.path("orlix_manager/etc")), {}));
}

TEST_F(ManagerSettingsTest, WritesOnlyWhatChanged)
{
    const auto first = models({{"a", "1"}, {"b", ""}});
    ASSERT_TRUE(update(first));
    std::filesystem::remove(folder.path(kFile));
    const struct
    {
        const char* name;
        AssignedModels next;
        bool force;
        const char* line;
    } kCases[] = {
        {"nothing", first, false, "Runtime settings has not changed.\n"},
        {"another stamp", models({{"a", "10"}, {"b", ""}}), false, "Detected model update\n"},
        {"another model", models({{"a", "1"}, {"c", ""}}), false,
         "Detected new model assignment\n"},
        {"a model less", models({{"a", "1"}}), false, ""},
        {"forced", first, true, ""}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(update(first, /*force*/ true));
        std::filesystem::remove(folder.path(kFile));
        const std::size_t before = log.text().size();
        const bool expected = std::string(c.name) != "nothing";
        EXPECT_EQ(expected, update(c.next, c.force));
        EXPECT_EQ(expected, folder.has(kFile));
        EXPECT_EQ(c.line, log.text().substr(before));
    }
}

TEST_F(ManagerSettingsTest, KeepsTheFileOfADocumentThatCannotBeTold)
{
    ASSERT_TRUE(update(models({{"m", "1"}})));
    const std::string whole = folder.read(kFile);
    EXPECT_TRUE(manager.updateSettings(newJsonDocument(), models({}), false));
    EXPECT_TRUE(logHas("Warning! Failed to create json string.\n"));
    EXPECT_EQ(whole, folder.read(kFile));
}

TEST_F(ManagerSettingsTest, ADiskThatRefusesIsNotNoticed)
{
    std::filesystem::remove_all(folder.path("orlix_manager/etc"));
    folder.write("orlix_manager/etc", "no folder");
    EXPECT_TRUE(update(models({{"m", "1"}})));
    EXPECT_FALSE(folder.has(kFile));
}

TEST_F(ManagerSettingsTest, MakesTheFoldersThatAnArchiveLeftOut)
{
    std::filesystem::remove_all(folder.path("orlix_manager"));
    EXPECT_TRUE(update(models({{"m", "1"}})));
    EXPECT_TRUE(folder.has(kFile));
}

TEST_F(ManagerSettingsTest, LoadsExternalProcessors)
{
    EXPECT_FALSE(manager.loadExternalPreprocessors());
    folder.write(
        "orlix_manager/preprocessors/external_preprocessors.json",
        R"({"externalPreprocessors":[{"Name":"Blur"}]})");
    folder.write("orlix_manager/postprocessors/external_postprocessors.json", "{ cut");
    const auto pre = manager.loadExternalPreprocessors();
    ASSERT_TRUE(pre);
    auto* const list = jsonMember(yyjson_doc_get_root(pre.get()), "externalPreprocessors");
    EXPECT_EQ("Blur", jsonText(jsonMember(yyjson_arr_get_first(list), "Name")));
    EXPECT_FALSE(manager.loadExternalPostprocessors());
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
