// The engine ends soon, whatever is under way; over real sockets, processes and threads.

#include <atomic>
#include <chrono>
#include <future>
#include <vector>

#include "engine_fixture.h"
#include "gate.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using namespace test;

// No time-out of the ini file's is shorter than the test's patience.
class Shutdown : public EngineTest
{
protected:
    Shutdown()
    {
        ini().HTTPRequestTimeout = 60;
        ini().modelDownloadSeconds = 60;
        m_slowServer.handlers.Get(
            ".*",
            [this](const httplib::Request&, httplib::Response& response)
            {
                response.set_header("Content-Digest", "md5=AAAAAAAAAAAAAAAAAAAAAA==");
                response.set_content_provider(
                    kSize, "text/plain",
                    [this](size_t offset, size_t, httplib::DataSink& sink)
                    {
                        if (offset != 0)
                            m_gate.pass();
                        return sink.write("x", 1);
                    });
            });
        m_slowServer.start();
        m_slowUrl = m_slowServer.url("");
    }

    ~Shutdown() override
    {
        m_gate.open();
        m_agent.reset();
        m_engine.reset();
    }

    void install()
    {
        installManager();
        installRuntime();
    }

    void startLoop() { m_agent = obtainAgent(kDevice); }

    // As a host does: the agents first. `letGo` lets an engine end that does not.
    void expectEndInTime(const std::function<void()>& letGo)
    {
        constexpr std::chrono::seconds kLimit{8};
        std::future<void> end = std::async(
            std::launch::async,
            [this]
            {
                m_agent.reset();
                m_engine.reset();
            });
        const bool isInTime = end.wait_for(kLimit) == std::future_status::ready;
        EXPECT_TRUE(isInTime);
        if (!isInTime)
            letGo();
    }

    [[nodiscard]] std::string recordWithModel(const std::string& url) const
    {
        return "[" + deviceRecord(kDevice, modelRecord("m", url, kSize)) + "]";
    }

    static constexpr std::size_t kSize = 4; // of all bodies and models
    const std::string kCache = kWorking + "orlix_manager/cache/unencrypted/";
    const std::string kDevice = "00010203-0405-0607-0809-0a0b0c0d0e0f";
    Gate m_gate; // in the slow server
    LoopbackHttpServer m_slowServer;
    std::string m_slowUrl;
    sdk::Ptr<sdk::analytics::IDeviceAgent> m_agent;
};

TEST_F(Shutdown, EndsTheDownloadOfTheApplication)
{
    ini().OrlixManagerStorageURL = m_slowUrl.c_str();
    startLoop();
    ASSERT_TRUE(m_gate.isReached());
    expectEndInTime([this] { m_gate.open(); });
    EXPECT_FALSE(m_folder.has("orlix_manager.tgz"));
}

TEST_F(Shutdown, EndsTheDownloadOfAModel)
{
    install();
    setDeviceRecords(recordWithModel(m_slowServer.url("/model")));
    startLoop();
    ASSERT_TRUE(m_gate.isReached());
    EXPECT_TRUE(comesTrue([this] { return m_folder.has(kCache + "model.tmp"); }));
    expectEndInTime([this] { m_gate.open(); });
    EXPECT_FALSE(m_folder.has(kCache + "model.tmp"));
    EXPECT_FALSE(m_folder.has(kCache + "model"));
    EXPECT_EQ(1, logged("Gave up a download for the shutdown: " + m_slowServer.url("/model")));
}

TEST_F(Shutdown, EndsAnUnpacking)
{
    m_gate.open(); // the archive comes
    ini().OrlixManagerStorageURL = m_slowUrl.c_str();
    m_folder.writeProgram("tar", "ignore-requests-to-end\nsleep 1000");
    const test_support::ScopedVariable path("PATH", test_support::pathWith(m_folder.path()));
    startLoop();
    ASSERT_TRUE(comesIntoLog("Unpacking Orlix Manager"));
    expectEndInTime([] {}); // 10 minutes, in vain
    EXPECT_FALSE(m_folder.has(kWorking + "orlix_manager.unpacking"));
}

TEST_F(Shutdown, EndsARequestToTheCloud)
{
    install();
    ini().CloudAPI = m_slowUrl.c_str();
    startLoop();
    ASSERT_TRUE(m_gate.isReached()); // for the pipelines
    expectEndInTime([this] { m_gate.open(); });
}

TEST_F(Shutdown, AbandonsARequestThatTheHostHolds)
{
    install();
    std::promise<FakeHost::Handler*> held;
    std::atomic<bool> holds{false};
    m_host->run = [&](const FakeHost::Request&, FakeHost::Handler* to)
    {
        if (!holds.exchange(false))
            return FakeHost::reply(to, "H\r\n\r\n[]");
        to->addRef();
        held.set_value(to);
    };
    startLoop();
    m_agent.reset(); // which asks the host itself; the loop goes on
    holds = true;
    FakeHost::Handler* const handler = held.get_future().get();
    const auto answer = [handler] { FakeHost::reply(handler, "H\r\n\r\n[]"); };
    expectEndInTime(answer);
    answer(); // meets a living handler
    handler->releaseRef();
}

// 6 seconds are the application's own, and it is not started again meanwhile.
TEST_F(Shutdown, WaitsForAnApplicationThatDoesNotEnd)
{
    install();
    m_folder.writeProgram(kBin + kManagerExecutable, "ignore-requests-to-end\nsleep 1000");
    startLoop();
    switchCamera(*m_agent, "true");
    ASSERT_TRUE(comesIntoLog("Orlix Manager started\n"));
    m_folder.write(kCache + "m.bin", std::string(kSize, 'x'));
    setDeviceRecords(recordWithModel("http://127.0.0.1:1/m.bin"));
    ASSERT_TRUE(comesIntoLog("Stopping Orlix Manager.\n")); // to restart it with the model
    expectEndInTime([] {});
    EXPECT_EQ(1, logged("Orlix Manager started\n"));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
