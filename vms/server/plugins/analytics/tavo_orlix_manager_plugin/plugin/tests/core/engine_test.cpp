#include "core/engine.h"

#include <stdexcept>

#include <testing/kept_file_number.h>

#include "../inference/module_peer.h"
#include "engine_fixture.h"
#include "inference/protocol.h"
#include "utils/file_lock.h"
#include "utils/log.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// No more than it takes to find its camera.
test::Entries resultOf(int index)
{
    return {
        {protocol::key::kInputIndex, test::number(static_cast<std::uint64_t>(index))},
        {protocol::key::kTimestamp, test::number(1)}};
}

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
    const auto send = [this](int index) { sendResult(resultOf(index)); };
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
        sendResult(resultOf(i % 2));
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

TEST_F(EngineTest, TheApplicationRunsWhileACameraIsSwitchedOn)
{
    const std::string id = "00010203-0405-0607-0809-0a0b0c0d0e0f";
    installManager();
    m_folder.writeProgram(kBin + kManagerExecutable, "wait-for end\nremove end");
    installRuntime();
    test::ModulePeer application(m_folder.path()); // that passes the command to stop on
    application.replyBy(
        [&]()
        {
            m_folder.write(kBin + "end", "");
            return std::string();
        });
    sdk::Ptr<sdk::analytics::IDeviceAgent> agent = obtainAgent(id);
    const auto switchTo = [&agent](const char* value) { switchCamera(*agent, value); };
    const auto activity = [this]
    {
        std::string all;
        for (const FakeHost::Request& patch : m_host->requests("PATCH /rest/v4/servers/this"))
        {
            const std::size_t at = patch.body.find("runtimeActive\":");
            if (at != std::string::npos)
                all += patch.body[at + 15];
        }
        return all;
    };
    switchTo("true");
    EXPECT_TRUE(test::comesTrue([&] { return activity() == "t"; })) << activity();
    EXPECT_EQ(1, logged("Orlix Manager started\n"));

    // A model that is in the cache already.
    const std::string cache = kWorking + "orlix_manager/cache/unencrypted/";
    m_folder.write(cache + "m.bin", "12345");
    setDeviceRecords("[" + deviceRecord(id, modelRecord("u", "http://127.0.0.1:1/m.bin", 5)) + "]");
    EXPECT_TRUE(comesIntoLog("Orlix Manager started\n", 2));
    EXPECT_EQ(1, logged("Settings change detected. Restarting runtime\n"));
    EXPECT_EQ("t", activity());

    switchTo("false");
    EXPECT_TRUE(test::comesTrue([&] { return activity() == "tf"; })) << activity();
    EXPECT_EQ(2, logged("Orlix Manager stopped with exit code 0\n"));
    switchTo("true");
    EXPECT_TRUE(test::comesTrue([&] { return activity() == "tft"; })) << activity();
    agent.reset();
    m_engine.reset();
    EXPECT_EQ(3, logged("Orlix Manager stopped with exit code 0\n"));
}

TEST_F(EngineTest, OfTwoEnginesTheSecondWaitsForTheFirstOnesSocketAndKeepsTheLog)
{
    const std::string socketFile = protocol::kPluginSocketFile;
    const auto identity = [&]() { return test_support::fileIdentity(m_folder.path(socketFile)); };
    auto first = sdk::Ptr<sdk::analytics::IEngine>(integration().obtainEngine().value);
    ASSERT_TRUE(test::comesTrue(
        [&]
        {
            socket_send_once(m_folder.path(socketFile), "no result", 9);
            return logged("Warning: An error occurred encoding the data!\n") > 0; // it listens
        }));
    const auto ofFirst = identity();
    const test_support::KeptFileNumber firstNumber(m_folder.path(socketFile));
    engine();
    ASSERT_TRUE(comesIntoLog("PLUGIN_SOCKET_TAKEN"));
    EXPECT_EQ(ofFirst, identity());

    first.reset();
    EXPECT_TRUE(test::comesTrue([&] { return identity() != 0 && identity() != ofFirst; }));
    const int before = logged("after");
    log_info("after\n");
    log_debug("at its verbosity, which writes at once\n");
    EXPECT_EQ(before + 1, logged("after"));
    EXPECT_EQ(2, logged("Initialized engine."));
    m_engine.reset();
    EXPECT_FALSE(m_folder.has(socketFile));
    EXPECT_FALSE(m_folder.has(socketFile + ".lock"));
}

// As two hosts with one temporary folder, or a host that starts beside its dying predecessor.
TEST_F(EngineTest, WhileAnotherHostIsThereNoApplicationIsStarted)
{
    FileLock another;
    ASSERT_EQ(
        FileLock::Outcome::taken,
        another.take(m_folder.path(protocol::kPluginSocketFile) + std::string(".lock")));
    installManager();
    installRuntime();
    sdk::Ptr<sdk::analytics::IDeviceAgent> agent = obtainAgent("1");
    switchCamera(*agent, "true");
    const auto passes = [this] { return m_host->requests("GET /rest/v4/devices?").size(); };
    const auto isOnBoard = [this]
    { return engine().messageBoard().snapshot().contains(board_key::kPluginSocketTaken); };
    EXPECT_TRUE(test::comesTrue([&] { return passes() >= 3 && isOnBoard(); }));
    EXPECT_EQ(0, logged("Starting Orlix Manager"));
    EXPECT_FALSE(m_folder.has(protocol::kPluginSocketFile));

    another.release();
    EXPECT_TRUE(comesIntoLog("Orlix Manager started\n"));
    EXPECT_TRUE(m_folder.has(protocol::kPluginSocketFile));
    EXPECT_FALSE(isOnBoard());
    agent.reset();
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

// What the loop does by itself for cameras that come.
class EngineInService : public EngineTest
{
protected:
    EngineInService()
    {
        installManager();
        installRuntime();
    }

    static std::string record(const std::string& id, const std::string& models = "")
    {
        return deviceRecord(id, models, R"({"modelUUID":"u"})", "https://" + id);
    }

    bool isConfigured(const std::string& id) const
    {
        return comesIntoLog("Got device admin from parameters: https://" + id + "\n");
    }

    const std::string kFirst = "00010203-0405-0607-0809-0a0b0c0d0e0f";
    const std::string kSecond = "10010203-0405-0607-0809-0a0b0c0d0e0f";
};

TEST_F(EngineInService, ACameraMadeWhileTheListStaysIsConfigured)
{
    setDeviceRecords("[" + record(kFirst) + "," + record(kSecond) + "]");
    auto first = obtainAgent(kFirst);
    EXPECT_TRUE(isConfigured(kFirst));
    auto second = obtainAgent(kSecond);
    EXPECT_TRUE(isConfigured(kSecond));
    first.reset();
    second.reset();
    m_engine.reset();
    EXPECT_LE(logged("Parsing devices parameters:"), 3) << "once for each, not in every pass";
}

// As when a host obtains the next before it drops the last.
TEST_F(EngineInService, AllAgentsOfADeviceAreConfigured)
{
    setDeviceRecords("[" + record(kFirst) + "]");
    const auto first = obtainAgent(kFirst);
    const auto second = obtainAgent(kFirst);
    const auto other = obtainAgent(kSecond);
    const auto isConfigured = [](const sdk::Ptr<sdk::analytics::IDeviceAgent>& agent)
    {
        const sdk::Ptr<const sdk::ISettingsResponse> dialog(agent->pluginSideSettings().value);
        const sdk::Ptr<const sdk::IStringMap> values(dialog->values());
        return values->value("selectedPipeline") != nullptr;
    };
    EXPECT_TRUE(test::comesTrue([&] { return isConfigured(first) && isConfigured(second); }));
    EXPECT_FALSE(isConfigured(other));
}

TEST_F(EngineInService, AnErrorInPlaceOfTheListTakesNothingAway)
{
    setDeviceRecords("[" + record(kFirst, modelRecord("u", "http://127.0.0.1:1/m", 1)) + "]");
    auto agent = obtainAgent(kFirst);
    const std::string settings = kWorking + "orlix_manager/etc/settings.json";
    const auto hasModel = [&]
    { return m_folder.read(settings).find(R"("UUID": "u")") != std::string::npos; };
    EXPECT_TRUE(test::comesTrue(hasModel));
    setDeviceRecords(R"({"error":"503","errorString":"Service unavailable"})");
    EXPECT_TRUE(
        comesIntoLog("Warning! Could not get devices parameters to test for changes.\n", 2));
    EXPECT_TRUE(hasModel());
    agent.reset();
}

TEST_F(EngineInService, AnApplicationThatMayNotBeStartedAgainIsReportedOnce)
{
    m_folder.writeProgram(kBin + kManagerExecutable, "exit 7");
    ini().restartOrlixManagerOnCrash = false;
    const auto agent = obtainAgent(kFirst);
    switchCamera(*agent, "true");
    EXPECT_TRUE(comesIntoLog("Orlix Manager crash detected. Not restarting.\n", 3));
    std::vector<std::string> reports;
    for (const std::string& patch : takeServerPatches())
    {
        if (patch.find("runtimeActive") != std::string::npos)
            reports.push_back(patch);
    }
    EXPECT_THAT(
        reports,
        ::testing::ElementsAre(
            ::testing::HasSubstr(R"("runtimeActive":true)"), ::testing::HasSubstr(":false")));
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
