// What nobody waits for: results, new cameras and dialogs go on while others are slow. Over real
// sockets and threads, the engine's own.

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <tavo/sdk/analytics/i_consuming_device_agent.h>

#include "../device_agent/result_message.h"
#include "../inference/module_peer.h"
#include "engine_fixture.h"
#include "fake_frame.h"
#include "gate.h"
#include "inference/protocol.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using namespace test;
using Agent = sdk::Ptr<sdk::analytics::IDeviceAgent>;

namespace
{

// A host that counts the packets of one camera.
class PacketCounter : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    // IHandler:
    void handleMetadata(sdk::analytics::IMetadataPacket* packet) override
    {
        const sdk::Ptr<sdk::analytics::IMetadataPacket> owned(packet);
        ++count;
    }
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent*) override {}
    void pushManifest(const sdk::IString*) override {}

    std::atomic<int> count{0};
};

} // namespace

// An engine with its own threads on a machine in service, and a cloud that is slow where the gate
// is: each test puts it somewhere.
class NobodyWaits : public EngineTest
{
protected:
    NobodyWaits()
    {
        installManager();
        installRuntime();
        // No test's patience lasts that long.
        ini().HTTPRequestTimeout = 60;
        ini().modelDownloadSeconds = 60;
        m_slowCloud.handlers.Get(
            "/system/.*",
            [gate = m_cloudGate](const httplib::Request&, httplib::Response&) { gate->pass(); });
        m_slowCloud.handlers.Get(
            "/model",
            [gate = m_storageGate](const httplib::Request&, httplib::Response&) { gate->pass(); });
        m_slowCloud.start();
        m_slowCloudUrl = m_slowCloud.url("");
        ini().CloudAPI = m_slowCloudUrl.c_str();
    }

    ~NobodyWaits() override
    {
        for (const auto& gate : {m_cloudGate, m_storageGate, m_hostGate})
            gate->open();
        m_agents.clear();
        m_engine.reset();
    }

    // Device "1" is 00000001-0000-... to all others.
    static std::string idOf(int device)
    {
        return "0000000" + std::to_string(device % 10) + "-0000-0000-0000-00000000000" +
            std::to_string(device / 10);
    }

    void addAgent(int device)
    {
        Agent agent = obtainAgent(idOf(device));
        agent->setHandler(m_packets.get());
        m_agents[device] = std::move(agent);
    }

    void drop(int device) { m_agents.erase(device); }

    // Sends a result and waits until the host has it.
    void passResult(int index)
    {
        const int before = m_packets->count;
        MpackGrowableWriter writer;
        map(
            {{protocol::key::kInputIndex, number(static_cast<std::uint64_t>(index))},
             {protocol::key::kTimestamp, number(1)}})(writer.writer());
        ASSERT_EQ(mpack_ok, writer.close());
        const SocketHandle socket = socket_connect(m_folder.path(protocol::kPluginSocketFile));
        ASSERT_NE(kInvalidSocket, socket);
        socket_send_message(
            socket, writer.bytes().data(), static_cast<std::uint32_t>(writer.bytes().size()));
        EXPECT_TRUE(comesTrue([this, before] { return m_packets->count > before; }));
        socket_close(socket);
    }

    // As the last request told the host.
    [[nodiscard]] std::string lastPatchOf(int device) const
    {
        const auto patches = m_host->requests("PATCH /rest/v4/devices/" + idOf(device));
        return patches.empty() ? "" : patches.back().body;
    }

    // Until the loop is done with what it is at.
    void expectAnotherPass() const
    {
        const auto lists = [this] { return m_host->requests("GET /rest/v4/devices?").size(); };
        EXPECT_TRUE(comesTrue([&, before = lists()] { return lists() > before; }));
    }

    const std::shared_ptr<Gate> m_cloudGate = std::make_shared<Gate>();
    const std::shared_ptr<Gate> m_storageGate = std::make_shared<Gate>();
    const std::shared_ptr<Gate> m_hostGate = std::make_shared<Gate>();
    LoopbackHttpServer m_slowCloud;
    std::string m_slowCloudUrl;
    const sdk::Ptr<PacketCounter> m_packets = sdk::makePtr<PacketCounter>();
    std::map<int, Agent> m_agents; // by device
};

constexpr char kEnabled[] = R"({"parameters":{"tavoAI":{"PluginEnabled":true}}})";
constexpr char kDisabled[] = R"({"parameters":{"tavoAI":{"PluginEnabled":false}}})";

TEST_F(NobodyWaits, ForAnApplicationThatAnswersManyCamerasSlowly)
{
    constexpr int kCameras = 16;
    constexpr int kResults = 8;
    m_cloudGate->open();
    ini().sendFramesOverride = true;
    ModulePeer application(m_folder.path());
    application.replyBy(
        []
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            return encodedReply("");
        });
    std::string records;
    for (int device = 0; device < kCameras; ++device)
    {
        records += std::string(device == 0 ? "" : ",") + R"({"id":")" + idOf(device) +
            R"(","parameters":{"tavoAI":{"deviceAdmin":"a","models":[],"pipelines":[{"modelUUID":"m","modelNMS":0.5}]}}})";
        addAgent(device);
    }
    setDeviceRecords("[" + records + "]");
    ASSERT_TRUE(comesIntoLog("Got device admin from parameters: a\n", kCameras));

    std::atomic<bool> done = false;
    std::vector<std::jthread> cameras;
    for (const auto& [device, agent] : m_agents)
    {
        cameras.emplace_back(
            [&done, agent = agent]
            {
                while (!done)
                {
                    sdk::Result<void> result;
                    static_cast<sdk::analytics::IConsumingDeviceAgent*>(agent.get())
                        ->doPushDataPacket(&result, sdk::makePtr<FakeFrame>().get());
                }
            });
    }
    application.messages(2); // two hand-overs: the others have come to stand in line
    for (int i = 0; i < kResults; ++i)
    {
        const auto sent = std::chrono::steady_clock::now();
        passResult(i);
        EXPECT_GT(std::chrono::seconds(1), std::chrono::steady_clock::now() - sent);
    }
    application.reply(encodedReply("")); // those in line are through soon
    done = true;
}

TEST_F(NobodyWaits, ForTheCloud)
{
    for (const int device : {1, 2})
        addAgent(device);
    ASSERT_TRUE(m_cloudGate->isReached()); // the pipelines of one of them
    EXPECT_TRUE(m_cloudGate->doesNotHoldUp(
        [this]
        {
            passResult(0);
            addAgent(3);
            passResult(2);
            const sdk::Ptr<const sdk::ISettingsResponse> dialog(
                m_agents[1]->pluginSideSettings().value);
            drop(1);
            drop(2);
        }));
    m_cloudGate->open();
    for (const int index : {0, 1}) // the one that was in use, too
        EXPECT_TRUE(comesIntoLog("Destroying Device Agent " + std::to_string(index) + "\n"));
    expectAnotherPass();
    EXPECT_EQ(kDisabled, lastPatchOf(1));
    EXPECT_EQ(kDisabled, lastPatchOf(2));
    EXPECT_EQ(kEnabled, lastPatchOf(3));
}

// The application is started at the end of a pass, whatever the cameras still wait for.
TEST_F(NobodyWaits, ForOneTimeOutOfTheCloudAfterTheOther)
{
    constexpr int kRequests = 3;
    ini().HTTPRequestTimeout = 1;
    for (const int device : {1, 2, 3})
        addAgent(device);
    ASSERT_TRUE(m_cloudGate->isReached(kRequests));
    EXPECT_LE(kRequests, std::ssize(m_host->requests("GET /rest/v4/devices?"))) << "one a pass";
}

// An agent that goes later than its successor comes must not tell the host that there is none.
TEST_F(NobodyWaits, ForAnAgentThatIsStillInUse)
{
    addAgent(1);
    ASSERT_TRUE(m_cloudGate->isReached());
    EXPECT_TRUE(m_cloudGate->doesNotHoldUp(
        [this]
        {
            drop(1);
            addAgent(1);
            passResult(1); // under an index of its own
        }));
    EXPECT_EQ(0, logged("Destroying Device Agent 0\n"));
    m_cloudGate->open();
    EXPECT_TRUE(comesIntoLog("Destroying Device Agent 0\n"));
    expectAnotherPass();
    EXPECT_EQ(kEnabled, lastPatchOf(1));
    drop(1);
    EXPECT_TRUE(comesTrue([this] { return lastPatchOf(1) == kDisabled; }));
}

TEST_F(NobodyWaits, ForAModel)
{
    m_cloudGate->open();
    addAgent(1);
    setDeviceRecords(
        R"([{"id":")" + idOf(1) +
        R"(","parameters":{"tavoAI":{"deviceAdmin":"a","pipelines":[],"models":[{"UUID":"m","Name":"Net","Downloads":[{"RuntimeArchitecture":"application/x-onnx","Size":9,"LastModified":"2026-11-03T10:00:00","Url":")" +
        m_slowCloud.url("/model") + R"("}]}]}}}])");
    ASSERT_TRUE(m_storageGate->isReached());
    EXPECT_TRUE(m_storageGate->doesNotHoldUp(
        [this]
        {
            passResult(0);
            addAgent(2);
            passResult(1);
            drop(1);
        }));
    EXPECT_EQ(1, logged("Destroying Device Agent 0\n"));
    EXPECT_EQ(kDisabled, lastPatchOf(1));
}

TEST_F(NobodyWaits, ForTheHost)
{
    m_cloudGate->open();
    const auto isSlow = std::make_shared<std::atomic<bool>>(false);
    m_host->run = [this, isSlow](const FakeHost::Request& request, FakeHost::Handler* to)
    {
        if (*isSlow && request.method == "PATCH")
            m_hostGate->pass();
        FakeHost::reply(to, "HTTP/1.1 200 OK\r\n\r\n[]");
    };
    addAgent(1);
    *isSlow = true;
    std::vector<std::future<Agent>> comers;
    for (const int device : {2, 3})
    {
        comers.push_back(
            std::async(std::launch::async, [this, device] { return obtainAgent(idOf(device)); }));
    }
    ASSERT_TRUE(m_hostGate->isReached());
    EXPECT_TRUE(m_hostGate->doesNotHoldUp([this] { passResult(0); }));
    m_hostGate->open();
    for (auto& comer : comers)
        comer.get();
    for (const int index : {1, 2}) // one each
        EXPECT_EQ(1, logged("Destroying Device Agent " + std::to_string(index) + "\n"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
