#include "core/engine.h"

#include <stdexcept>

#include "engine_fixture.h"
#include "inference/protocol.h"
#include "utils/log.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST_F(EngineTest, AResultReachesItsAgentAlone)
{
    m_host->setToken("");
    constexpr int kAgents = 3;
    sdk::Ptr<sdk::analytics::IDeviceAgent> agents[kAgents];
    sdk::Ptr<PacketCounter> handlers[kAgents];
    for (int i = 0; i < kAgents; ++i)
    {
        agents[i] = obtainAgent(std::to_string(i));
        handlers[i] = sdk::makePtr<PacketCounter>();
        agents[i]->setHandler(handlers[i].get());
    }
    const auto send = [this](std::uint64_t index)
    {
        sendResult(
            {{protocol::key::kInputIndex, test::number(index)},
             {protocol::key::kTimestamp, test::number(1)}});
    };
    send(1);
    EXPECT_TRUE(test::comesTrue([&] { return handlers[1]->count == 1; }));
    send(2);
    send(0);
    send(2);
    send(kAgents);
    EXPECT_TRUE(comesIntoLog("Device agent not found\n"));
    EXPECT_EQ(1, handlers[0]->count);
    EXPECT_EQ(1, handlers[1]->count);
    EXPECT_EQ(2, handlers[2]->count);
}

TEST_F(EngineTest, AnAgentThatCannotBeMadeLeavesItsIndex)
{
    struct Nameless : FakeDevice
    {
        using FakeDevice::FakeDevice;
        const char* id() const override { return nullptr; }
    };
    struct Throwing : FakeDevice
    {
        using FakeDevice::FakeDevice;
        const char* name() const override { throw std::runtime_error("no name"); }
    };
    const auto null = sdk::Ptr<FakeDevice>();
    const std::pair<sdk::Ptr<FakeDevice>, const char*> kCases[] = {
        {null, "The device has no id"},
        {sdk::makePtr<FakeDevice>(""), "The device has no id"},
        {sdk::makePtr<Nameless>(""), "The device has no id"},
        {sdk::makePtr<Throwing>("1"), "no name"}};
    for (const auto& [device, message] : kCases)
    {
        const auto result = engine().doObtainDeviceAgent(device.get());
        EXPECT_EQ(
            device == kCases[3].first ? sdk::ErrorCode::internalError
                                      : sdk::ErrorCode::invalidParams,
            result.errorCode);
        EXPECT_STREQ(message, sdk::Ptr<const sdk::IString>(result.errorMessage)->str());
    }
    obtainAgent("1").reset();
    EXPECT_EQ(1, logged("Destroying Device Agent 0\n")) << "nobody has its index";
}

TEST_F(EngineTest, AtLevelOneWhatComesWithEachResultIsWrittenOnceAMinute)
{
    ini().logVerbosityLevel = 1;
    m_host->setToken("");
    constexpr int kResults = 20;
    const std::string kIds[] = {
        "00000000-0000-0000-0000-000000000001", "00000000-0000-0000-0000-000000000002"};
    sdk::Ptr<sdk::analytics::IDeviceAgent> agents[2];
    const auto handler = sdk::makePtr<PacketCounter>();
    for (int i = 0; i < 2; ++i)
    {
        agents[i] = obtainAgent(kIds[i]);
        agents[i]->setHandler(handler.get());
    }
    for (int i = 0; i < kResults; ++i)
        sendResult(
            {{protocol::key::kInputIndex, test::number(static_cast<std::uint64_t>(i % 2))},
             {protocol::key::kTimestamp, test::number(1)}});
    EXPECT_TRUE(test::comesTrue([&] { return handler->count == kResults; }));
    for (auto& agent : agents)
        agent.reset();
    m_engine.reset(); // which closes the log
    EXPECT_EQ(1, logged("Receiving on connection...\n"));
    for (const std::string& id : kIds)
        EXPECT_EQ(1, logged("Device " + id + " average FPS: "));
}

TEST_F(EngineTest, TellsWhatIsWrongInTheIniFile)
{
    ini().problems = {{"", "line 3\nis none"}, {"number", "needs one"}};
    const auto shown = engine().messageBoard().snapshot();
    ini().problems.clear();
    for (const char* text : {"line 3?is none", "needs one"})
        EXPECT_EQ(1, logged(std::string("The ini file has a mistake: ") + text + "\n")) << text;
    EXPECT_EQ("The ini file has a mistake: needs one", shown.at("INI_FILE_2").text);
    EXPECT_EQ(
        1, logged("Certificates of download servers are not checked (verifyCertificates is off)"));
}

TEST(DeviceAgentIndices, AreTakenAgainWhenTheirAgentIsGone)
{
    DeviceAgents agents;
    for (const std::size_t index : {0, 1, 2})
        EXPECT_EQ(index, agents.reserve("camera"));
    agents.remove(1);
    agents.remove(17); // nobody's
    for (const std::size_t index : {1, 3})
        EXPECT_EQ(index, agents.reserve("camera"));
    agents.remove(0);
    EXPECT_EQ(0u, agents.reserve("camera"));
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

TEST_F(EngineTest, OfTwoEnginesTheSecondWaitsForTheFirstOnesSocketAndKeepsTheLog)
{
    const std::string socketFile = protocol::kPluginSocketFile;
    const auto isThere = [&] { return m_folder.has(socketFile); };
    auto first = sdk::Ptr<sdk::analytics::IEngine>(integration().obtainEngine().value);
    ASSERT_TRUE(test::comesTrue(isThere));
    engine();
    ASSERT_TRUE(comesIntoLog("PLUGIN_SOCKET_TAKEN"));
    first.reset();
    EXPECT_TRUE(comesIntoLog("The plugin socket is free and taken over.\n"));
    EXPECT_TRUE(test::comesTrue(isThere));
    const int before = logged("after");
    log_info("after\n");
    log_debug("at its verbosity, which writes at once\n");
    EXPECT_EQ(before + 1, logged("after"));
    EXPECT_EQ(2, logged("Initialized engine."));
    m_engine.reset();
    EXPECT_FALSE(isThere() || m_folder.has(socketFile + ".lock"));
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

// The second while the list stays, as when a host obtains the next before it drops the last.
TEST_F(EngineTest, EachAgentOfADeviceIsConfiguredWhenItComes)
{
    installManager();
    installRuntime();
    const std::string id = "00010203-0405-0607-0809-0a0b0c0d0e0f";
    setDeviceRecords("[" + deviceRecord(id, "", R"({"modelUUID":"u"})") + "]");
    const auto isConfigured = [](const sdk::Ptr<sdk::analytics::IDeviceAgent>& agent)
    {
        const sdk::Ptr<const sdk::ISettingsResponse> dialog(agent->pluginSideSettings().value);
        const sdk::Ptr<const sdk::IStringMap> values(dialog->values());
        return values->value("selectedPipeline") != nullptr;
    };
    auto first = obtainAgent(id);
    auto other = obtainAgent("10010203-0405-0607-0809-0a0b0c0d0e0f");
    EXPECT_TRUE(test::comesTrue([&] { return isConfigured(first); }));
    auto second = obtainAgent(id);
    EXPECT_TRUE(test::comesTrue([&] { return isConfigured(second); }));
    EXPECT_FALSE(isConfigured(other));
    for (auto* const agent : {&first, &second, &other})
        agent->reset();
    m_engine.reset();
    EXPECT_LE(logged("Parsing devices parameters:"), 3) << "once for each, not in every pass";
}

TEST_F(EngineTest, TheHostOwnsTheOneReferenceOfWhatTheEntryPointGives)
{
    sdk::IPlugin* const plugin = createTavoPlugin();
    EXPECT_EQ(2u, plugin->addRef());
    EXPECT_EQ(1u, plugin->releaseRef());
    EXPECT_TRUE(sdk::Ptr(plugin->queryInterface("tavo::sdk::analytics::IIntegration")));
    EXPECT_FALSE(plugin->queryInterface("tavo::sdk::analytics::IEngine"));
    EXPECT_EQ(0u, plugin->releaseRef());
}

TEST_F(EngineTest, PluginAndEngineSayWhatTheyAre)
{
    const sdk::Ptr<const sdk::IString> plugins(integration().manifest().value);
    EXPECT_THAT(
        plugins->str(),
        testing::AllOf(
            testing::StartsWith(R"({"id":"tavo.orlix","name":"Tavo Orlix Manager","description":)"),
            testing::EndsWith(R"("engineSettingsModel":{"type":"Settings","items":[]}})")));
    const sdk::Ptr<const sdk::IString> engines(engine().manifest().value);
    EXPECT_THAT(
        engines->str(),
        testing::StartsWith(R"({"capabilities":"needUncompressedVideoFrames_rgb")"));
    const sdk::Ptr<const sdk::ISettingsResponse> settings(engine().pluginSideSettings().value);
    const sdk::Ptr<const sdk::IString> model(settings->model());
    EXPECT_STREQ(
        R"({"type":"Settings","items":[{"type":"Link","caption":"Orlix Manager documentation","url":"https://docs.tavo.example/orlix/manager"}]})",
        model->str());
}

TEST_F(EngineTest, WithoutAPlaceForItsFilesThereIsNoEngine)
{
    m_folder.write("file", "");
    const struct
    {
        std::string home;
        std::string temporary;
        const char* text;
    } kCases[] = {
        {"", m_folder.path(), "The host names no home directory"},
        {m_folder.path("file"), m_folder.path(), "create_directories"},
        {m_folder.path("home"), m_folder.path("nowhere"), "temp_directory_path"}};
    for (const auto& c : kCases)
    {
        m_host->home = c.home;
        const ScopedTempPath temporary(c.temporary);
        const auto result = integration().obtainEngine();
        EXPECT_FALSE(result.isOk());
        const sdk::Ptr<const sdk::IString> message(result.errorMessage);
        EXPECT_THAT(message->str(), testing::HasSubstr(c.text));
    }
    m_host->home = "";
    const std::string own = m_folder.path("own");
    ini().WorkingDirectory = own.c_str();
    engine();
    EXPECT_TRUE(std::filesystem::is_directory(own));
    ini().WorkingDirectory = "";
}

TEST_F(EngineTest, SaysInItsLogWhatItFindsOnThisMachine)
{
    engine();
    EXPECT_EQ(0, logged("Working directory: ")); // nothing of the disks holds the host
    const auto agent = obtainAgent("a");
    ASSERT_TRUE(comesIntoLog("Runtime: none, not installed [attention] It is fetched when"));
    const std::string folder = m_folder.path("home");
    for (const std::string& line :
         {std::string("System: "), "Working directory: " + folder,
          "Temporary folder: " + m_folder.path()})
        EXPECT_EQ(1, logged(line)) << line;
    EXPECT_LE(logged(" [good]") + logged(" [attention]") + logged(" [bad]"), 20);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
