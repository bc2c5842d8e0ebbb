#include "core/model_collector.h"

#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "remote/text_helpers.h"
#include "temporary_folder.h"
#include "utils/paths.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class ModelCollection : public ::testing::Test
{
protected:
    // Adds each element of a JSON array; gives the list for the settings file.
    std::string collect(const std::string& models)
    {
        ModelCollector collector(
            m_models, m_manager, m_mimeType, [this] { return ++m_tokensAsked, "token"; },
            m_downloaded);
        const JsonDocument document = parseJson(models);
        yyjson_arr_iter iterator = yyjson_arr_iter_with(yyjson_doc_get_root(document.get()));
        while (yyjson_val* const model = yyjson_arr_iter_next(&iterator))
            collector.add(model);
        return jsonToText(collector.takeList());
    }

    // What the cache has already, and so is not downloaded.
    std::string cachedDownload(const std::string& mimeType, bool encrypted)
    {
        const std::string folder = encrypted ? "encrypted/" : "unencrypted/";
        m_folder.write("orlix_manager/cache/" + folder + "m.bin", "12345");
        return R"({"RuntimeArchitecture":")" + mimeType + R"(","Url":"http://127.0.0.1:1/m.bin",)" +
            R"("Encrypted":)" + (encrypted ? "true" : "false") +
            R"(,"LastModified":"2024-01-01T00:00:00","Size":5})";
    }

    TemporaryFolder m_folder;
    test::CapturedLog m_log;
    MessageBoard m_board;
    ModelManager m_manager{m_folder.path(), &m_board};
    const std::string m_mimeType = "application/x-onnx";
    AssignedModels m_models{{"old", {}}};
    int m_tokensAsked = 0;
    bool m_downloaded = false;
};

TEST_F(ModelCollection, AModelOfSeveralDevicesIsTakenOnce)
{
    const std::string download = cachedDownload(m_mimeType, false);
    const std::string model = R"({"UUID":"u1","Name":"People","UpdatedAt":"yesterday","Extra":[1],)"
                              R"("Downloads":[)" +
        download + "]}";
    const std::string other =
        R"({"UUID":"u1","Name":"Other","Downloads":[)" + cachedDownload(m_mimeType, true) + "]}";
    const std::string list = collect("[" + model + "," + model + "," + other + "]");

    const std::string path = path_join(m_folder.path("orlix_manager/cache/unencrypted"), "m.bin");
    const std::string inJson = std::regex_replace(path, std::regex(R"(\\)"), R"(\\)");
    EXPECT_EQ(
        "[" + model.substr(0, model.size() - 1) +
            R"(,"MimeType":"application/x-onnx","Filepath":")" + inJson + R"("}])",
        list);
    ASSERT_EQ(1u, m_models.size());
    const AssignedModel& assigned = m_models.at("u1");
    EXPECT_EQ("People", assigned.name);
    EXPECT_EQ(path, assigned.runtimePath);
    EXPECT_EQ(1, m_tokensAsked);
    EXPECT_THAT(
        m_log.text(),
        ::testing::HasSubstr(
            "Warning! Model assigned in both encrypted and unencrypted configurations.\n"));
}

TEST_F(ModelCollection, WhatCannotBeUsedIsLeftOutWithAWord)
{
    const std::string unfit = cachedDownload("application/x-other", false);
    const std::string list = collect(
        R"([null,7,[],{},{"UUID":7,"Name":"n"},{"UUID":"u","Downloads":[)" +
        cachedDownload(m_mimeType, false) +
        R"(]},{"UUID":"u3","Name":"None","Downloads":7},{"UUID":"u1","Name":"Unfit","Downloads":[)" +
        unfit + "]}]");
    EXPECT_EQ("[]", list);
    EXPECT_TRUE(m_models.empty());
    const std::string text = "Model Unfit is not compatible with this runtime: application/x-onnx";
    ASSERT_TRUE(m_board.snapshot().contains("NO_COMPATIBLE_RUNTIME_u1"));
    EXPECT_EQ(text, m_board.snapshot().at("NO_COMPATIBLE_RUNTIME_u1").text);

    collect(
        R"([{"UUID":"u1","Name":"Unfit","Downloads":[)" + cachedDownload(m_mimeType, false) +
        "]}]");
    EXPECT_FALSE(m_board.snapshot().contains("NO_COMPATIBLE_RUNTIME_u1")) << "it fits now";

    collect(R"([{"UUID":"u1","Name":"Unfit","Downloads":[)" + unfit + "]}]");
    EXPECT_TRUE(m_board.snapshot().contains("NO_COMPATIBLE_RUNTIME_u1"));
    collect("[]");
    EXPECT_TRUE(m_board.snapshot().empty()) << "nobody has it any more";
}

// The id names the file of the model's key.
TEST_F(ModelCollection, AnIdThatLeadsElsewhereIsRefusedWithAWord)
{
    const std::string download = cachedDownload(m_mimeType, true);
    for (const char* const id : {"../../../../x/y\\u0000", "a/b", "a\\\\b", "..", "a\\nb", ""})
    {
        SCOPED_TRACE(id);
        EXPECT_EQ(
            "[]",
            collect(
                R"([{"UUID":")" + std::string(id) + R"(","Name":"n","Downloads":[)" + download +
                "]}]"));
        EXPECT_TRUE(m_models.empty());
    }
    EXPECT_EQ(0, m_tokensAsked);
    EXPECT_THAT(
        m_log.text(),
        ::testing::HasSubstr("Warning! Model's ID cannot name its files: ../../../../x/y?\n"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
