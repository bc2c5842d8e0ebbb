// The loop on its own thread, with an application to start and to stop.

#include <csignal>
#include <fstream>
#include <thread>

#include <tavo/sdk/helpers/string_map.h>

#include "engine_fixture.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A script that tells its process id when it starts, and a module socket that ends it at the first
// message, the stop command.
class LoopThread : public EngineTest
{
protected:
    LoopThread()
    {
        installManager(
            "folder=$(dirname \"$0\")\nrm -f \"$folder/stop\"\necho $$ >> \"$folder/started\"\n"
            "while [ ! -e \"$folder/stop\" ]; do sleep 0.05; done\n");
        installRuntime();
        m_folder.write(kWorking + "orlix_manager/cache/unencrypted/m.bin", "12345");
        m_moduleSocket = std::jthread(
            [this]
            {
                socket_serve(
                    m_folder.path("tmp/orlix_manager.sock"),
                    [this](std::span<const char>, SocketHandle)
                    { m_folder.write(kBin + "stop", ""); },
                    m_closeModuleSocket);
            });
    }

    ~LoopThread() override
    {
        m_agent.reset();
        m_engine.reset();
        m_closeModuleSocket = true;
    }

    // The process ids of all that were started.
    std::vector<pid_t> started() const
    {
        std::ifstream file(m_folder.path(kBin + "started"));
        return {std::istream_iterator<pid_t>(file), {}};
    }

    bool startsReach(std::size_t count) const
    {
        return test::comesTrue([&] { return started().size() >= count; });
    }

    bool runtimeActiveIsTold(bool active)
    {
        const std::string body = active ? R"({"parameters":{"tavoAI":{"runtimeActive":true}}})"
                                        : R"({"parameters":{"tavoAI":{"runtimeActive":false}}})";
        return test::comesTrue(
            [&]
            {
                const std::vector<std::string> patches = takeServerPatches();
                return !patches.empty() && patches.back() == body;
            });
    }

    void setActive(bool active)
    {
        const auto settings = sdk::makePtr<sdk::StringMap>();
        settings->setItem("deviceActiveSwitch", active ? "true" : "false");
        const sdk::Ptr<const sdk::ISettingsResponse> response(
            m_agent->setSettings(settings.get()).value);
    }

    void setModel(const std::string& updatedAt)
    {
        setDeviceRecords(
            R"([{"id":"{)" + kDeviceId + R"(}","parameters":{"tavoAI":{"deviceAdmin":"http://a",)" +
            R"("pipelines":[],"models":[{"UUID":"u1","Name":"n","UpdatedAt":")" + updatedAt +
            R"(","Downloads":[{"RuntimeArchitecture":"application/x-onnx",)" +
            R"("Url":"http://127.0.0.1:1/m.bin","LastModified":"2024-01-01T00:00:00","Size":5}]}]}}}])");
    }

    const std::string kDeviceId = "12345678-1234-1234-1234-123456789012";
    sdk::Ptr<sdk::analytics::IDeviceAgent> m_agent;

private:
    std::atomic<bool> m_closeModuleSocket{false};
    std::jthread m_moduleSocket;
};

TEST_F(LoopThread, TheApplicationFollowsTheWishesOfTheAgents)
{
    setModel("monday");
    m_agent = obtainAgent(kDeviceId);
    ASSERT_TRUE(comesIntoLog("Parsing devices parameters: 1 1 0\n"));
    EXPECT_EQ(1, logged("Got device admin from parameters: http://a\n"));
    setActive(true);
    ASSERT_TRUE(startsReach(1));
    EXPECT_TRUE(runtimeActiveIsTold(true));

    setModel("tuesday");
    ASSERT_TRUE(startsReach(2));
    EXPECT_EQ(1, logged("Settings change detected. Restarting runtime\n"));
    EXPECT_THAT(
        m_folder.read(kWorking + "orlix_manager/etc/settings.json"),
        ::testing::AllOf(
            ::testing::HasSubstr("tuesday"),
            ::testing::HasSubstr(
                m_folder.path(kWorking + "orlix_manager/cache/unencrypted/m.bin"))));

    // A crash is found, reported and answered in one pass.
    kill(started().back(), SIGKILL);
    ASSERT_TRUE(startsReach(3));
    EXPECT_TRUE(runtimeActiveIsTold(true));
    EXPECT_TRUE(engine().messageBoard().snapshot().contains("ORLIX_MANAGER_CRASH"));

    setActive(false);
    EXPECT_TRUE(runtimeActiveIsTold(false));
    EXPECT_EQ(ManagerState::Stopped, engine().managerInterface().state());

    // What still runs when the engine goes is stopped by the loop on its way out.
    setActive(true);
    ASSERT_TRUE(startsReach(4));
    m_agent.reset();
    m_engine.reset();
    EXPECT_NE(0, kill(started().back(), 0));
    EXPECT_EQ(1, logged("Runtime Manager Loop interrupted.\n"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
