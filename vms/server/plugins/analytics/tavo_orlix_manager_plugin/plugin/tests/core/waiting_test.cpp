// What nobody waits for: results, new cameras and dialogs go on while others are slow. Over real
// sockets and threads, the engine's own.

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <tavo/sdk/analytics/i_consuming_device_agent.h>

#include "button_press.h"
#include "engine_fixture.h"
#include "fake_frame.h"
#include "gate.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using namespace test;
using sdk::analytics::IConsumingDeviceAgent;
using Agent = sdk::Ptr<sdk::analytics::IDeviceAgent>;

// An engine with its own threads on a machine in service, and a cloud that is slow where the gate
// is: each test puts it somewhere.
class NobodyWaits : public EngineTest
{
protected:
    NobodyWaits()
    {
        installManager();
        installRuntime();
        ini().HTTPRequestTimeout = 60; // no test's patience lasts that long
        m_slowCloud.handlers.Get(
            "/system/.*",
            [gate = m_cloudGate](const httplib::Request&, httplib::Response&) { gate->pass(); });
        m_slowCloud.start();
        m_slowCloudUrl = m_slowCloud.url("");
        ini().CloudAPI = m_slowCloudUrl.c_str();
    }

    ~NobodyWaits() override
    {
        for (const auto& gate : {m_cloudGate, m_hostGate})
            gate->open();
        m_agents.clear();
        m_engine.reset();
    }

    static std::string idOf(int device)
    {
        return "0000000" + std::to_string(device) + "-0000-0000-0000-000000000000";
    }

    void addAgent(int device)
    {
        Agent agent = obtainAgent(idOf(device));
        agent->setHandler(m_packets.get());
        m_agents[device] = std::move(agent);
    }

    void drop(int device) { m_agents.erase(device); }

    IConsumingDeviceAgent& agentOf(int device)
    {
        return static_cast<IConsumingDeviceAgent&>(*m_agents.at(device));
    }

    // The host takes changes at its gate once that is set.
    std::shared_ptr<std::atomic<bool>> slowPatches()
    {
        auto areSlow = std::make_shared<std::atomic<bool>>(false);
        m_host->run = [this, areSlow](const FakeHost::Request& request, FakeHost::Handler* to)
        {
            if (*areSlow && request.method == "PATCH")
                m_hostGate->pass();
            FakeHost::reply(to, "HTTP/1.1 200 OK\r\n\r\n[]");
        };
        return areSlow;
    }

    // Sends a result with one object and waits until the host has it.
    void passResult(int index)
    {
        const int before = m_packets->count;
        sendResult(
            {{protocol::key::kInputIndex, number(static_cast<std::uint64_t>(index))},
             {protocol::key::kTimestamp, number(1)},
             {protocol::key::kWidth, number(100)},
             {protocol::key::kHeight, number(100)},
             {protocol::key::kBoxes, map({{"cat", boxes({10, 10, 20, 20})}})}});
        EXPECT_TRUE(comesTrue([this, before] { return m_packets->count > before; }));
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
    const std::shared_ptr<Gate> m_hostGate = std::make_shared<Gate>();
    LoopbackHttpServer m_slowCloud;
    std::string m_slowCloudUrl;
    const sdk::Ptr<PacketCounter> m_packets = sdk::makePtr<PacketCounter>();
    std::map<int, Agent> m_agents; // by device
};

constexpr char kEnabled[] = R"({"parameters":{"tavoAI":{"PluginEnabled":true}}})";
constexpr char kDisabled[] = R"({"parameters":{"tavoAI":{"PluginEnabled":false}}})";

// Out of each call of the library's, on its thread, and with an answer each time.
TEST_F(NobodyWaits, ForAHostThatCallsStraightBack)
{
    m_cloudGate->open();
    ini().sendFramesOverride = true;
    const auto record = [](const std::string& className)
    {
        const std::string output = R"({"Name":"bboxes;0:)" + className + "\"}";
        const std::string model = R"({"UUID":"m","Name":"M","NamedOutput":[)" + output + "]}";
        return "[" + deviceRecord(idOf(1), model, R"({"modelUUID":"m","modelNMS":0.5})") + "]";
    };
    const auto useAgents = [this]
    {
        for (const int device : {1, 2})
        {
            IConsumingDeviceAgent& agent = agentOf(device);
            const auto values = sdk::makePtr<sdk::StringMap>();
            const sdk::Ptr<const sdk::ISettingsResponse> applied(
                agent.setSettings(values.get()).value);
            const sdk::Ptr<const sdk::ISettingsResponse> dialog(agent.pluginSideSettings().value);
            sdk::Result<const sdk::IActiveSettingChangedResponse*> result;
            agent.getSettingsOnActiveSettingChange(
                &result, sdk::makePtr<ButtonPress>("selectAllButton").get());
            const sdk::Ptr<const sdk::IActiveSettingChangedResponse> response(result.value);
            EXPECT_TRUE(applied && dialog && response);
        }
    };
    const auto testsThread = std::this_thread::get_id();
    std::mutex mutex; // over the next
    std::set<std::string> calledBackFrom;
    const auto isNew = [&](const std::string& where)
    {
        const std::lock_guard lock(mutex);
        return calledBackFrom.insert(where).second;
    };
    std::atomic<bool> areAgentsThere = false;
    std::atomic<int> callsUnderWay = 0;
    const auto callBackFrom = [&](const std::string& call)
    {
        const bool isHosts = std::this_thread::get_id() == testsThread;
        ++callsUnderWay;
        if (areAgentsThere && isNew(call + (isHosts ? ", the host's" : ", the library's")))
        {
            useAgents();
            if (call != "request") // which is one at a time
            {
                EXPECT_TRUE(obtainAgent(idOf(3))); // and drops it
            }
        }
        --callsUnderWay;
    };
    m_packets->called = callBackFrom;
    m_host->run = [&](const FakeHost::Request& request, FakeHost::Handler* to)
    {
        if (request.method == "PATCH")
            callBackFrom("request");
        FakeHost::reply(to, "HTTP/1.1 200 OK\r\n\r\n" + m_host->body(request));
    };
    struct CallingFrame : FakeFrame
    {
        int width() const override { return called("frame"), FakeFrame::width(); }
        std::function<void(const std::string&)> called;
    };

    for (const int device : {1, 2})
        addAgent(device);
    setDeviceRecords(record("cat"));
    ASSERT_TRUE(comesIntoLog("Got device admin from parameters: a\n"));
    areAgentsThere = true;
    useAgents();
    setDeviceRecords(record("dog"));
    const auto hasBeen = [&](const char* where)
    {
        const std::lock_guard lock(mutex);
        return calledBackFrom.contains(where);
    };
    EXPECT_TRUE(comesTrue([&] { return hasBeen("manifest, the library's"); }));
    passResult(0);
    EXPECT_TRUE(comesTrue([&] { return hasBeen("events, the library's"); }));
    const auto frame = sdk::makePtr<CallingFrame>();
    frame->called = callBackFrom;
    sdk::Result<void> pushed;
    agentOf(1).doPushDataPacket(&pushed, frame.get());
    areAgentsThere = false;
    EXPECT_TRUE(comesTrue([&] { return callsUnderWay == 0; }));
    m_agents.clear();
    m_engine.reset(); // with all that calls
    EXPECT_THAT(
        calledBackFrom,
        testing::UnorderedElementsAre(
            "events, the library's", "frame, the host's", "manifest, the host's",
            "manifest, the library's", "objects, the library's", "request, the host's",
            "request, the library's"));
}

// It is told to the host that it has ended, which may take long, on the loop's thread.
TEST_F(NobodyWaits, ForTheEndOfAnAgentThatAResultHasKept)
{
    m_cloudGate->open();
    const auto areSlow = slowPatches();
    for (const int device : {1, 2})
        addAgent(device);
    *areSlow = true;
    m_packets->called = [this](const std::string&) { drop(1); };
    EXPECT_TRUE(m_hostGate->doesNotHoldUp(
        [this]
        {
            passResult(0);
            EXPECT_TRUE(m_hostGate->isReached());
            passResult(1);
        }));
    m_hostGate->open();
    EXPECT_TRUE(comesTrue([this] { return lastPatchOf(1) == kDisabled; }));
    EXPECT_EQ(1, logged("Destroying Device Agent 0\n"));
}

TEST_F(NobodyWaits, AtTheEndOfTheEngineWhichLeavesNobodyBehind)
{
    m_cloudGate->open();
    addAgent(1);
    m_packets->called = [this](const std::string&)
    {
        m_hostGate->pass();
        drop(1);
    };
    const auto result = std::async(std::launch::async, [this] { passResult(0); });
    ASSERT_TRUE(m_hostGate->isReached());
    ExchangeLine& line = engine().managerInterface().line();
    ExchangeLine::Place first, second;
    auto turn = std::make_unique<ExchangeLine::Turn>(line, first);
    const auto end = std::async(std::launch::async, [this] { m_engine.reset(); });
    EXPECT_TRUE(comesIntoLog("Runtime Manager Loop interrupted.\n"));
    EXPECT_TRUE(m_hostGate->doesNotHoldUp(
        [&] { EXPECT_FALSE(ExchangeLine::Turn(line, second, std::chrono::minutes(1))); }));
    turn.reset();
    m_hostGate->open();
    end.wait();
    EXPECT_EQ(1, logged("Destroying Device Agent 0\n"));
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
            for (const int device : {1, 2})
                drop(device);
            for (const int device : {1, 2})
                addAgent(device);
            passResult(3); // the agent in use has its index still
        }));
    m_cloudGate->open();
    for (const int index : {0, 1}) // the one that was in use, too
        EXPECT_TRUE(comesIntoLog("Destroying Device Agent " + std::to_string(index) + "\n"));
    expectAnotherPass();
    for (const int device : {1, 2, 3}) // also where the last one went later than its successor came
        EXPECT_EQ(kEnabled, lastPatchOf(device));
    drop(1);
    EXPECT_TRUE(comesTrue([this] { return lastPatchOf(1) == kDisabled; }));
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

TEST_F(NobodyWaits, ForTheHost)
{
    m_cloudGate->open();
    const auto areSlow = slowPatches();
    addAgent(1);
    *areSlow = true;
    auto comer = std::async(std::launch::async, [this] { return obtainAgent(idOf(2)); });
    ASSERT_TRUE(m_hostGate->isReached());
    EXPECT_TRUE(m_hostGate->doesNotHoldUp([this] { passResult(0); }));
    m_hostGate->open();
    comer.get().reset();
    EXPECT_TRUE(comesIntoLog("Destroying Device Agent 1\n"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
