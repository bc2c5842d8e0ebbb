#pragma once

#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/analytics/i_event_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/helpers/string_map.h>

#include "core/engine.h"
#include "core/ini.h"
#include "core/plugin.h"
#include "device_agent/device_agent.h"
#include "fake_host.h"
#include "result_message.h"
#include "temporary_folder.h"
#include "utils/json.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

class FakeDevice : public sdk::RefCountable<sdk::analytics::IDeviceInfo>
{
public:
    const char* id() const override { return "{00010203-0405-0607-0809-0A0B0C0D0E0F}"; }
    const char* vendor() const override { return ""; }
    const char* model() const override { return ""; }
    const char* firmware() const override { return ""; }
    const char* name() const override { return "Gate"; }
    const char* url() const override { return ""; }
    const char* login() const override { return ""; }
    const char* password() const override { return ""; }
    std::int32_t channelNumber() const override { return 0; }
    const char* sharedId() const override { return ""; }
    const char* logicalId() const override { return ""; }
};
inline constexpr char kDeviceId[] = "00010203-0405-0607-0809-0a0b0c0d0e0f";

// Keeps what the agent hands to the host.
class FakeHandler : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    // IHandler:
    void handleMetadata(sdk::analytics::IMetadataPacket* packet) override
    {
        const sdk::Ptr<sdk::analytics::IMetadataPacket> owned(packet);
        const std::lock_guard lock(m_mutex);
        if (auto objects = sdk::interfaceCast<sdk::analytics::IObjectMetadataPacket>(owned))
            m_objectPackets.push_back(std::move(objects));
        if (auto events = sdk::interfaceCast<sdk::analytics::IEventMetadataPacket>(owned))
            m_eventPackets.push_back(std::move(events));
    }
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent*) override {}
    void pushManifest(const sdk::IString* manifest) override
    {
        const std::lock_guard lock(m_mutex);
        m_manifests.emplace_back(manifest->str());
    }

    // What came since the last call.
    auto takeObjects() { return take(m_objectPackets); }
    auto takeEvents() { return take(m_eventPackets); }
    auto takeManifests() { return take(m_manifests); }

private:
    template <typename T>
    std::vector<T> take(std::vector<T>& from)
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(from, {});
    }

    std::mutex m_mutex;
    std::vector<sdk::Ptr<sdk::analytics::IObjectMetadataPacket>> m_objectPackets;
    std::vector<sdk::Ptr<sdk::analytics::IEventMetadataPacket>> m_eventPackets;
    std::vector<std::string> m_manifests;
};

// The folder for temporary files, sockets among them, as this process sees it.
class ScopedTemporaryDirectory
{
public:
    explicit ScopedTemporaryDirectory(const std::string& path)
    {
        if (const char* const old = std::getenv("TMPDIR"))
            m_old = old;
        setenv("TMPDIR", path.c_str(), /*overwrite*/ 1);
    }
    ~ScopedTemporaryDirectory()
    {
        if (m_old)
            setenv("TMPDIR", m_old->c_str(), /*overwrite*/ 1);
        else
            unsetenv("TMPDIR");
    }
    ScopedTemporaryDirectory(const ScopedTemporaryDirectory&) = delete;
    ScopedTemporaryDirectory& operator=(const ScopedTemporaryDirectory&) = delete;

private:
    std::optional<std::string> m_old;
};

// The options that tests here change: the log has every line in its file at once.
class ScopedOptions
{
public:
    ScopedOptions() { ini().logVerbosityLevel = 2; }
    ~ScopedOptions()
    {
        ini().logVerbosityLevel = m_verbosity;
        ini().sendFramesOverride = false;
        ini().DeviceAdminOverride = "";
        ini().CloudAPI = m_cloudApi;
    }
    ScopedOptions(const ScopedOptions&) = delete;
    ScopedOptions& operator=(const ScopedOptions&) = delete;

private:
    const int m_verbosity = ini().logVerbosityLevel;
    const char* const m_cloudApi = ini().CloudAPI;
};

// A real agent of a real engine, whose loop never starts: what it would do is done by the test.
// The host is the test's, the temporary folder and the working directory are its own.
class AgentTest : public testing::Test
{
protected:
    static constexpr std::size_t kDeviceNumber = 7;

    AgentTest()
    {
        m_plugin->setUtilityProvider(host.get());
        m_engine = sdk::makePtr<Engine>(m_plugin.get(), folder.path());
        startAgent();
    }

    void startAgent()
    {
        const auto device = sdk::makePtr<FakeDevice>();
        agent =
            sdk::makePtr<DeviceAgent>(device.get(), kDeviceNumber, m_engine.get(), folder.path());
        agent->setHandler(handler.get());
    }

    Engine& engine() { return *m_engine; }

    // Everything that a frame needs but a pipeline: the application counts as running.
    void openGates()
    {
        ini().sendFramesOverride = true;
        engine().cloudConnectionState = 5;
        for (const char* const executable : {kManagerExecutable, kEngineExecutable})
            folder.write(std::string("orlix_manager/bin/") + executable, "");
        engine().managerInstallation().checkInstallation();
    }

    void processParameters(const std::string& tavoAi)
    {
        const JsonDocument record = parseJson(R"({"parameters": {"tavoAI": )" + tavoAi + "}}");
        ASSERT_TRUE(record);
        agent->processDeviceParameters(yyjson_doc_get_root(record.get()));
    }

    // The values of the response, and its model.
    using Answer = std::pair<std::map<std::string, std::string>, std::string>;

    static Answer readAnswer(const sdk::ISettingsResponse* owned)
    {
        const sdk::Ptr<const sdk::ISettingsResponse> response(owned);
        Answer answer;
        const sdk::Ptr<const sdk::IStringMap> values(response->values());
        EXPECT_TRUE(sdk::toStdMap(values.get(), &answer.first));
        const sdk::Ptr<const sdk::IString> model(response->model());
        answer.second = model ? model->str() : "";
        return answer;
    }

    Answer setSettings(const std::map<std::string, std::string>& values)
    {
        const auto map = sdk::makePtr<sdk::StringMap>(values);
        const auto result = agent->setSettings(map.get());
        EXPECT_TRUE(result.isOk());
        return readAnswer(result.value);
    }

    // Handles a result message and gives the error that its tree was left in.
    mpack_error_t handleResult(const Entries& entries)
    {
        Message message(map(entries));
        agent->handleResultMessage(message.root());
        return message.error();
    }

    // All lines since the engine was made.
    [[nodiscard]] std::string log() const { return folder.read("orlix_plugin_start.log"); }

    [[nodiscard]] std::size_t countInLog(const std::string& line) const
    {
        const std::string text = log();
        std::size_t count = 0;
        for (std::size_t at = text.find(line); at != std::string::npos;
             at = text.find(line, at + 1))
            ++count;
        return count;
    }

    [[nodiscard]] std::vector<std::string> patches() const
    {
        std::vector<std::string> bodies;
        for (const auto& request : host->requests("PATCH /rest/v4/devices/"))
            bodies.push_back(request.body);
        return bodies;
    }

    const TemporaryFolder folder;
    const ScopedTemporaryDirectory temporaryDirectory{folder.path()};
    const ScopedOptions options;
    const sdk::Ptr<FakeHost> host = sdk::makePtr<FakeHost>();
    const sdk::Ptr<FakeHandler> handler = sdk::makePtr<FakeHandler>();

private:
    const sdk::Ptr<Plugin> m_plugin = sdk::makePtr<Plugin>();
    sdk::Ptr<Engine> m_engine;

protected:
    sdk::Ptr<DeviceAgent> agent; // goes before the engine
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
