#include "core/engine.h"

#include "engine_fixture.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using ::testing::HasSubstr;
using ::testing::Not;

TEST_F(EngineTest, WithoutAnAgentOnlyTheListenerIsJoined)
{
    engine();
    EXPECT_EQ(1, logged("Initialized engine. Plugin version: 4.6.66\n"));
    EXPECT_TRUE(test::comesTrue([this] { return m_folder.has("tmp/orlix_plugin.sock"); }));
    m_engine.reset();
    EXPECT_EQ(2, logged("Waiting for socket listener to exit...\n"));
    EXPECT_EQ(1, logged("Socket listener succesfully finished.\n"));
    EXPECT_EQ(1, logged("Finalizing logging...\n"));
    EXPECT_THAT(log(), Not(HasSubstr("untime loop")));
    EXPECT_FALSE(m_folder.has("tmp/orlix_plugin.sock"));
}

TEST_F(EngineTest, GoesOnWithoutAListeningSocket)
{
    m_folder.write("tmp/orlix_plugin.sock/in_the_way", "");
    engine();
    EXPECT_TRUE(comesIntoLog("Error: Failed to create listening socket: "));
    m_engine.reset();
    EXPECT_EQ(1, logged("Socket listener succesfully finished.\n"));
}

TEST_F(EngineTest, WithoutATemporaryFolderThereIsNone)
{
    setenv("TMPDIR", m_folder.path("missing").c_str(), 1);
    try
    {
        engine();
        FAIL();
    }
    catch (const std::filesystem::filesystem_error& e)
    {
        EXPECT_THAT(e.what(), HasSubstr("temp_directory_path"));
    }
}

TEST_F(EngineTest, OneEngineMayFollowAnother)
{
    for (int i = 0; i < 3; ++i)
    {
        engine();
        m_engine.reset();
        EXPECT_EQ(1, logged("Socket listener succesfully finished.\n"));
    }
}

TEST_F(EngineTest, ItsDialogIsALinkToTheDocumentation)
{
    for (int i = 0; i < 2; ++i)
    {
        const sdk::Ptr<const sdk::ISettingsResponse> response(engine().pluginSideSettings().value);
        const sdk::Ptr<const sdk::IString> model(response->model());
        ASSERT_TRUE(model);
        EXPECT_STREQ(
            R"({"type":"Settings","items":[{"type":"Link","caption":"Orlix Manager documentation","url":"https://docs.tavo.example/orlix/manager"}]})",
            model->str());
    }
}

TEST_F(EngineTest, ARequestShowsItsProgressAndClearsTheWarnings)
{
    const std::string reset =
        "Device reset in progress. Please wait a few moments and hit 'Refresh'.";
    const struct
    {
        std::function<void(Engine&)> request;
        const char* key;
        std::string text;
    } kCases[] = {
        {[](Engine& e) { e.resetDevices(); }, "RESET_DEVICE", reset},
        {[](Engine& e) { e.resetDevice("id"); }, "RESET_DEVICE", reset},
        {[](Engine& e) { e.clearCache(); }, "CLEAR_CACHE",
         "Plugin is clearing the cache. Please wait a few moments and hit 'Refresh'."},
        {[](Engine& e) { e.retryDownloads(); }, "RETRY_DOWNLOADS",
         "Plugin will retry model downloads. Please wait a few moments and hit 'Refresh'."}};
    MessageBoard& board = engine().messageBoard();
    for (const auto& c : kCases)
    {
        board.postMessage("W", "a warning", MessageType::warning);
        c.request(engine());
        const MessageBoard::Entries entries = board.snapshot();
        ASSERT_EQ(1u, entries.size());
        EXPECT_EQ(c.text, entries.at(c.key).text);
        EXPECT_EQ(MessageType::message, entries.at(c.key).type);
        board.removeMessage(c.key);
    }
    engine().requestRuntimeReselection();
    EXPECT_EQ(RuntimeStatus::reselectRequested, engine().runtimesManager().status());
    EXPECT_TRUE(board.snapshot().empty());
}

TEST_F(EngineTest, IndicesOfGoneAgentsAreTakenAgain)
{
    std::vector<sdk::Ptr<sdk::analytics::IDeviceAgent>> agents;
    for (const char* id : {"00000000-0000-0000-0000-000000000000", "1", "2"})
        agents.push_back(obtainAgent(id));
    const auto endsAs = [this](sdk::Ptr<sdk::analytics::IDeviceAgent>& agent, int index)
    {
        const std::string line = "Destroying Device Agent " + std::to_string(index) + "\n";
        const int before = logged(line);
        agent.reset();
        return logged(line) == before + 1;
    };
    EXPECT_TRUE(endsAs(agents[1], 1));
    sdk::Ptr<sdk::analytics::IDeviceAgent> again = obtainAgent("3");
    EXPECT_TRUE(endsAs(again, 1));
    again = obtainAgent("3");
    EXPECT_TRUE(endsAs(agents[0], 0));
    agents[0] = obtainAgent("4");
    agents[1] = obtainAgent("5");
    EXPECT_TRUE(endsAs(agents[1], 3));
    EXPECT_TRUE(endsAs(agents[0], 0));
    EXPECT_TRUE(endsAs(agents[2], 2));
    EXPECT_TRUE(endsAs(again, 1));
    engine().removeDeviceAgent(17); // nobody's
}

TEST_F(EngineTest, AllAgentsShareOneLoopThatEndsWithTheEngine)
{
    m_host->setToken("");
    sdk::Ptr<sdk::analytics::IDeviceAgent> first = obtainAgent("1");
    sdk::Ptr<sdk::analytics::IDeviceAgent> second = obtainAgent("2");
    ASSERT_TRUE(comesIntoLog("Server/Site not connected to cloud.\n"));
    first.reset();
    second.reset();
    first = obtainAgent("1"); // starts no other
    first.reset();
    m_engine.reset();
    EXPECT_EQ(1, logged("Runtime Manager Loop interrupted.\n"));
    EXPECT_EQ(1, logged("Runtime loop sucessfully finished.\n"));
    // The loop asks for the provider once more, to tell the host of a stop.
    EXPECT_LE(1, logged("Warning! Tried to access utility provider while shutting down.\n"));
}

// A pass may fail in any way without ending the thread.
TEST_F(EngineTest, AnExceptionCostsOnePass)
{
    struct ThrowingHost : FakeHost
    {
        const char* cloudAuthToken() const override
        {
            if (calls++ == 0)
                throw std::runtime_error("no token today");
            throw 7;
        }
        mutable std::atomic<int> calls = 0;
    };
    const auto host = sdk::makePtr<ThrowingHost>();
    host->home = m_host->home;
    m_plugin->setUtilityProvider(host.get());
    sdk::Ptr<sdk::analytics::IDeviceAgent> agent = obtainAgent("1");
    EXPECT_TRUE(comesIntoLog("Unknown error in runtimeManagerLoop\n"));
    EXPECT_EQ(1, logged("Error in runtimeManagerLoop: no token today\n"));
    agent.reset();
}

} // namespace tavo::vms_server_plugins::analytics::orlix
