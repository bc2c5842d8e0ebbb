#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "manager_fixture.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

AssignedModels models(std::initializer_list<std::pair<const char*, const char*>> stamps)
{
    AssignedModels models;
    for (const auto& [id, updatedAt] : stamps)
        models[id] = {id, "", updatedAt, "", "", "", false};
    return models;
}

class ManagerSettingsTest : public test::ManagerFixture
{
protected:
    // Makes the folders that an archive left out.
    bool update(const AssignedModels& assigned, bool force)
    {
        auto list = newJsonDocument();
        yyjson_mut_doc_set_root(list.get(), yyjson_mut_arr(list.get()));
        return manager.updateSettings(std::move(list), assigned, force);
    }
};

TEST_F(ManagerSettingsTest, WritesOnlyWhatChanged)
{
    const auto first = models({{"a", "1"}, {"b", ""}});
    const struct
    {
        const char* name;
        AssignedModels next;
        bool force;
        bool isWritten;
    } kCases[] = {
        {"nothing", first, false, false},
        {"another stamp", models({{"a", "10"}, {"b", ""}}), false, true},
        {"another model", models({{"a", "1"}, {"c", ""}}), false, true},
        {"a model less", models({{"a", "1"}}), false, true},
        {"forced", first, true, true}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(update(first, /*force*/ true));
        std::filesystem::remove(folder.path("orlix_manager/etc/settings.json"));
        EXPECT_EQ(c.isWritten, update(c.next, c.force));
        EXPECT_EQ(c.isWritten, folder.has("orlix_manager/etc/settings.json"));
        EXPECT_FALSE(update(c.next, /*force*/ false)) << "known by now";
    }
}

TEST_F(ManagerSettingsTest, LeavesOutWhatHasNoText)
{
    auto list = newJsonDocument();
    yyjson_mut_doc_set_root(list.get(), yyjson_mut_real(list.get(), std::nan("")));
    EXPECT_TRUE(manager.updateSettings(std::move(list), {}, /*force*/ true));
    EXPECT_TRUE(log.text().ends_with("Warning! Failed to create json string.\n"));
    EXPECT_FALSE(folder.has("orlix_manager/etc/settings.json"));
}

TEST_F(ManagerSettingsTest, TellsOnceOfWhatItCannotWriteAndTriesAgain)
{
    std::filesystem::create_directories(folder.path("orlix_manager/etc/settings.json"));
    EXPECT_FALSE(update(models({{"a", "1"}}), /*force*/ false));
    EXPECT_FALSE(manager.settingsAreWritten());
    EXPECT_NE(std::string::npos, onBoard(board_key::kSettingsNotWritten).find("settings.json"));
    board.clearWarnings();
    RetryPause::Clock::time_point last;
    for (const char* stamp : {"2", "3", "4", "5", "6", "7"})
    {
        last = RetryPause::Clock::now();
        EXPECT_FALSE(update(models({{"a", stamp}}), /*force*/ false)); // the pauses begin anew
    }
    EXPECT_EQ("", onBoard(board_key::kSettingsNotWritten));
    std::filesystem::remove(folder.path("orlix_manager/etc/settings.json"));
    const bool isEarly = manager.retrySettings();
    EXPECT_FALSE(isEarly && RetryPause::Clock::now() - last < std::chrono::seconds(1));
    EXPECT_TRUE(isEarly || test::comesTrue([this] { return manager.retrySettings(); }));
    EXPECT_TRUE(manager.settingsAreWritten());
    EXPECT_EQ("[]", folder.read("orlix_manager/etc/settings.json"));
}

TEST_F(ManagerSettingsTest, TellsOfABrokenFileOfProcessorsUntilItIsMended)
{
    const std::string file =
        folder.path("orlix_manager/postprocessors/external_postprocessors.json");
    std::filesystem::create_directories(folder.path("orlix_manager/postprocessors"));
    const struct
    {
        const char* content; // null: no file
        const char* said; // null: nothing
    } kCases[] = {
        {nullptr, nullptr},
        {"{\n\"externalPostprocessors\": [,]}", "Line 2: "},
        {R"({"externalPostprocessors": []})", nullptr},
        {R"({"externalPreprocessors": []})", "There is no list \"externalPostprocessors\" in it"},
        {"", "\n"},
        {nullptr, nullptr}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.content ? c.content : "no file");
        std::filesystem::remove(file);
        if (c.content)
            std::ofstream(file, std::ios::binary) << c.content;
        const JsonDocument document = manager.loadExternalPostprocessors();
        const std::string said = onBoard(board_key::kBrokenPostprocessors);
        EXPECT_EQ(c.content && !c.said, document != nullptr);
        EXPECT_EQ(c.said == nullptr, said.empty()) << said;
        if (c.said)
        {
            EXPECT_NE(std::string::npos, said.find(c.said)) << said;
            EXPECT_NE(std::string::npos, said.find("external_postprocessors.json")) << said;
        }
    }
    EXPECT_TRUE(logHas("Broken file of processors: "));
    EXPECT_EQ(nullptr, manager.loadExternalPreprocessors());
}

TEST(RetryPauseTest, GrowsToFiveMinutes)
{
    RetryPause pause;
    RetryPause::Clock::time_point now{};
    EXPECT_TRUE(pause.isOver(now));
    for (const int seconds : {1, 2, 4, 8, 16, 32, 64, 128, 256, 300, 300})
    {
        pause.begin(now);
        now += std::chrono::seconds(seconds);
        EXPECT_FALSE(pause.isOver(now - std::chrono::milliseconds(1))) << seconds;
        EXPECT_TRUE(pause.isOver(now)) << seconds;
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
