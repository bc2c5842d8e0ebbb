#include "core/plugin.h"

#include <filesystem>

#include "engine_fixture.h"
#include "utils/json.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

class PluginTest : public EngineTest
{
protected:
    ~PluginTest() override { ini().WorkingDirectory = ""; }

    std::string manifest()
    {
        const sdk::Ptr<const sdk::IString> text(integration().manifest().value);
        return text->str();
    }
};

TEST_F(PluginTest, TheHostOwnsTheOneReferenceOfWhatTheEntryPointGives)
{
    sdk::IPlugin* const plugin = createTavoPlugin();
    EXPECT_EQ(2u, plugin->addRef());
    EXPECT_EQ(1u, plugin->releaseRef());
    for (const char* id :
         {"tavo::sdk::analytics::IIntegration", "tavo::sdk::analytics::IPlugin",
          "tavo::sdk::IIntegration", "tavo::sdk::IPlugin", "tavo::sdk::IRefCountable"})
    {
        SCOPED_TRACE(id);
        const sdk::Ptr<sdk::IRefCountable> object(plugin->queryInterface(id));
        EXPECT_EQ(plugin, object.get());
    }
    EXPECT_FALSE(plugin->queryInterface("tavo::sdk::analytics::IEngine"));
    EXPECT_EQ(0u, plugin->releaseRef());
}

TEST_F(PluginTest, TheManifestSaysWhatTheLibraryIs)
{
    EXPECT_EQ(
        R"({"id":"tavo.orlix","name":"Tavo Orlix Manager","description":"Orlix Manager is a universal tool for deploying and managing AI models. It transforms video streams from any camera into intelligent, actionable insights with minimal engineering effort.","vendor":"Tavo Systems.","version":"4.6.66","engineSettingsModel":{"type":"Settings","items":[]}})",
        manifest());
    EXPECT_EQ(manifest(), manifest());
    EXPECT_FALSE(m_folder.has("home")); // nothing is written before there is an engine
}

TEST_F(PluginTest, TheWorkingDirectoryLiesInTheHostsHome)
{
    EXPECT_EQ(m_folder.path("home/tavo_orlix_manager"), engine().workingDirectory());
    EXPECT_TRUE(m_folder.has("home/tavo_orlix_manager/orlix_plugin.log"));
}

TEST_F(PluginTest, OrWhereTheOptionSays)
{
    const std::string path = m_folder.path("a/b/c");
    ini().WorkingDirectory = path.c_str();
    EXPECT_EQ(path, engine().workingDirectory());
    EXPECT_TRUE(m_folder.has("a/b/c/orlix_plugin_start.log"));
    EXPECT_FALSE(m_folder.has("home"));
}

TEST_F(PluginTest, AFolderThatCannotBeMadeIsAnException)
{
    m_folder.write("home", "a file in the way");
    try
    {
        static_cast<void>(integration().obtainEngine());
        FAIL();
    }
    catch (const std::filesystem::filesystem_error& e)
    {
        EXPECT_THAT(e.what(), ::testing::HasSubstr("create_directories"));
        EXPECT_EQ(m_folder.path("home/tavo_orlix_manager"), e.path1());
    }
}

TEST_F(PluginTest, WithoutAHomeThereIsNoEngine)
{
    m_host->home = "";
    const auto result = integration().obtainEngine();
    EXPECT_FALSE(result.isOk());
    const sdk::Ptr<const sdk::IString> message(result.errorMessage);
    EXPECT_STREQ("The host names no home directory", message->str());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
