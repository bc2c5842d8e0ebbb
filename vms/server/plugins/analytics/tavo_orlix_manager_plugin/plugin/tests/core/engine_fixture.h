#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/helpers/string_map.h>

#include "../device_agent/result_message.h"
#include "base/ini.h"
#include "core/engine.h"
#include "core/plugin.h"
#include "fake_device.h"
#include "fake_host.h"
#include "http_server.h"
#include "inference/protocol.h"
#include "temporary_folder.h"
#include "utils/mutex.h"
#include "utils/platform_names.h"
#include "utils/sockets.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A host that counts the packets of all cameras that have it for a handler.
class PacketCounter : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    // IHandler:
    void handleMetadata(sdk::analytics::IMetadataPacket* packet) override
    {
        const sdk::Ptr<sdk::analytics::IMetadataPacket> owned(packet);
        const bool isObjects{sdk::interfaceCast<sdk::analytics::IObjectMetadataPacket>(owned)};
        called(isObjects ? "objects" : "events");
        ++count;
    }
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent*) override {}
    void pushManifest(const sdk::IString*) override { called("manifest"); }

    std::function<void(const std::string&)> called = [](const std::string&) {};
    std::atomic<int> count{0};
};

// The cloud's record of a model in one file, and the host's of a device with such models.
inline std::string modelRecord(
    const std::string& id, const std::string& url, std::size_t size,
    const std::string& stamp = "2026-11-03T10:00:00")
{
    return R"({"UUID":")" + id + R"(","Name":"Net )" + id +
        R"(","Downloads":[{"RuntimeArchitecture":"application/x-onnx","Size":)" +
        std::to_string(size) + R"(,"LastModified":")" + stamp + R"(","Url":")" + url + R"("}]})";
}

inline std::string deviceRecord(
    const std::string& id, const std::string& models = "", const std::string& pipelines = "",
    const std::string& admin = "a")
{
    return R"({"id":")" + id + R"(","parameters":{"tavoAI":{"deviceAdmin":")" + admin +
        R"(","pipelines":[)" + pipelines + R"(],"models":[)" + models + "]}}}";
}

// As the user's switch in the dialog.
inline void switchCamera(sdk::analytics::IDeviceAgent& agent, const char* value)
{
    const std::map<std::string, std::string> values = {{"deviceActiveSwitch", value}};
    const sdk::Ptr<const sdk::ISettingsResponse> answer(
        agent.setSettings(sdk::makePtr<sdk::StringMap>(values).get()).value);
}

// A cloud that keeps what it is asked to reset, and resets nothing.
class FakeCloud
{
public:
    FakeCloud()
    {
        m_server.handlers.Post(
            "/reset/",
            [this](const httplib::Request& request, httplib::Response& response)
            {
                MutexLock lock(m_mutex);
                m_resets.push_back(request.body);
                response.set_content("{}", "application/json");
            });
        m_server.start();
    }

    [[nodiscard]] std::string url() const { return m_server.url(""); }

    // The request bodies since the last call.
    std::vector<std::string> takeResets()
    {
        MutexLock lock(m_mutex);
        return std::exchange(m_resets, {});
    }

private:
    Mutex m_mutex;
    std::vector<std::string> m_resets GUARDED_BY(m_mutex);
    LoopbackHttpServer m_server; // last: its thread uses the others
};

// A folder of the test's own, between a stand-in host and a stand-in cloud. The storage of runtimes
// and of the application cannot be reached.
class HostAndCloudTest : public ::testing::Test
{
protected:
    HostAndCloudTest()
    {
        ini().CloudAPI = m_cloudUrl.c_str();
        ini().RuntimesStorageURL = "http://127.0.0.1:1";
        ini().OrlixManagerStorageURL = "http://127.0.0.1:1";
        ini().logVerbosityLevel = 2;
        m_host->home = m_folder.path("home");
        m_host->setToken("token-1");
        m_host->body = [this](const FakeHost::Request& request)
        {
            MutexLock lock(m_recordsMutex);
            if (request.method == "GET" && request.path == "/rest/v4/servers/this")
                return m_serverRecord;
            if (request.method == "GET" && request.path.starts_with("/rest/v4/devices?"))
                return m_deviceRecords;
            return std::string("{}");
        };
    }

    ~HostAndCloudTest() override
    {
        ini().restartOrlixManagerOnCrash = true;
        test::CapturedLog::told() +=
            test_support::contentOf(m_folder.path(kWorking + "orlix_plugin_start.log"));
    }

    [[nodiscard]] int logged(const std::string& line) const
    {
        const std::string text = m_folder.read(kWorking + "orlix_plugin_start.log");
        int count = 0;
        for (std::size_t at = 0; (at = text.find(line, at)) != std::string::npos; ++at)
            ++count;
        return count;
    }

    bool comesIntoLog(const std::string& line, int times = 1) const
    {
        return test::comesTrue([&] { return logged(line) >= times; });
    }

    void setServerRecord(const std::string& record)
    {
        MutexLock lock(m_recordsMutex);
        m_serverRecord = record;
    }

    void setDeviceRecords(const std::string& records)
    {
        MutexLock lock(m_recordsMutex);
        m_deviceRecords = records;
    }

    // The bodies of the patches of the server's record since the last call.
    std::vector<std::string> takeServerPatches()
    {
        const auto requests = m_host->requests("PATCH /rest/v4/servers/this");
        std::vector<std::string> bodies;
        for (; m_patchesSeen < requests.size(); ++m_patchesSeen)
            bodies.push_back(requests[m_patchesSeen].body);
        return bodies;
    }

    void installManager()
    {
        m_folder.writeProgram(kBin + kManagerExecutable, "sleep 100");
        m_folder.writeProgram(kBin + kEngineExecutable, "");
    }

    void installRuntime()
    {
        m_folder.write(kBin + kRuntimeLibrary, "");
        m_folder.write(kBin + "installed_runtime.txt", "Generic CPU");
    }

    const std::string kWorking = "home/tavo_orlix_manager/";
    const std::string kBin = kWorking + "orlix_manager/bin/";

    TemporaryFolder m_folder;
    ScopedTempPath m_temp{m_folder.path()};
    FakeCloud m_cloud;
    const std::string m_cloudUrl = m_cloud.url();
    sdk::Ptr<FakeHost> m_host = sdk::makePtr<FakeHost>();

private:
    std::size_t m_patchesSeen = 0;
    Mutex m_recordsMutex;
    std::string m_serverRecord GUARDED_BY(m_recordsMutex) =
        R"({"parameters":{"tavoAI":{"siteID":"site-1"}}})";
    std::string m_deviceRecords GUARDED_BY(m_recordsMutex) = "[]";
};

// With a plugin and its engine.
class EngineTest : public HostAndCloudTest
{
protected:
    EngineTest() { m_plugin->setUtilityProvider(m_host.get()); }

    ~EngineTest() override { m_engine.reset(); }

    sdk::analytics::IIntegration& integration()
    {
        return *static_cast<sdk::analytics::IIntegration*>(m_plugin.get());
    }

    // Made at the first call.
    Engine& engine()
    {
        if (!m_engine)
        {
            const auto result = integration().obtainEngine();
            m_engine = sdk::Ptr<Engine>(static_cast<Engine*>(result.value));
        }
        return *m_engine;
    }

    sdk::Ptr<sdk::analytics::IDeviceAgent> obtainAgent(const std::string& deviceId)
    {
        const auto device = sdk::makePtr<FakeDevice>(deviceId);
        return sdk::Ptr<sdk::analytics::IDeviceAgent>(
            engine().doObtainDeviceAgent(device.get()).value);
    }

    // Sends what the application would, once the listener listens.
    void sendResult(const test::Entries& entries)
    {
        MpackGrowableWriter writer;
        test::map(entries)(writer.writer());
        ASSERT_EQ(mpack_ok, writer.close());
        SocketHandle socket = kInvalidSocket;
        ASSERT_TRUE(test::comesTrue(
            [&]
            {
                socket = socket_connect(m_folder.path(protocol::kPluginSocketFile));
                return socket != kInvalidSocket;
            }));
        EXPECT_TRUE(socket_send_message(
            socket, writer.bytes().data(), static_cast<std::uint32_t>(writer.bytes().size())));
        socket_close(socket);
    }

    sdk::Ptr<sdk::IPlugin> m_plugin{createTavoPlugin()};
    sdk::Ptr<Engine> m_engine;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
