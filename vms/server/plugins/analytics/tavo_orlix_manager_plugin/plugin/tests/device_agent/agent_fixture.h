#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tavo/sdk/analytics/i_event_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/helpers/uuid.h>

#include "bare_services.h"
#include "base/ini.h"
#include "button_press.h"
#include "device_agent/device_agent.h"
#include "fake_device.h"
#include "fake_host.h"
#include "result_message.h"
#include "temporary_folder.h"
#include "utils/json.h"
#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

inline constexpr char kDeviceId[] = "00010203-0405-0607-0809-0a0b0c0d0e0f";

// Keeps what the agent hands to the host. Results come on one thread, manifests on any.
class FakeHandler : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    // IHandler:
    void handleMetadata(sdk::analytics::IMetadataPacket* packet) override
    {
        const sdk::Ptr<sdk::analytics::IMetadataPacket> owned(packet);
        if (const auto objects = sdk::interfaceCast<sdk::analytics::IObjectMetadataPacket>(owned))
        {
            m_packets.emplace_back("objects", packet->timestampUs());
            EXPECT_EQ(1, packet->durationUs());
            for (int i = 0; i < objects->count(); ++i)
                keep(*sdk::Ptr<const sdk::analytics::IObjectMetadata>(objects->at(i)));
        }
        if (const auto events = sdk::interfaceCast<sdk::analytics::IEventMetadataPacket>(owned))
        {
            m_packets.emplace_back("events", packet->timestampUs());
            EXPECT_EQ(1'000'000, packet->durationUs());
            for (int i = 0; i < events->count(); ++i)
            {
                const sdk::Ptr<const sdk::analytics::IEventMetadata> event(events->at(i));
                EXPECT_TRUE(event->isActive());
                m_events.push_back(
                    std::string(event->typeId()) + "|" + event->caption() + "|" +
                    event->description());
            }
        }
    }
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent*) override {}
    void pushManifest(const sdk::IString* manifest) override
    {
        onManifest();
        const std::lock_guard lock(m_mutex);
        m_manifests.emplace_back(manifest->str());
    }

    // What came since the last call: "type x y w h attribute=value", "type|caption|description".
    auto takeObjects() { return std::exchange(m_objects, {}); }
    auto takePackets() { return std::exchange(m_packets, {}); }
    auto takeEvents() { return std::exchange(m_events, {}); }
    auto takeManifests() { return std::exchange(m_manifests, {}); }

    std::function<void()> onManifest = [] {}; // to be set before use

    std::map<std::string, std::vector<sdk::Uuid>> trackIds; // of all objects so far, by type

private:
    void keep(const sdk::analytics::IObjectMetadata& object)
    {
        const auto box = object.boundingBox();
        std::ostringstream text;
        text << object.typeId() << " " << box.x << " " << box.y << " " << box.width << " "
             << box.height;
        for (int i = 0; i < object.attributeCount(); ++i)
        {
            const sdk::Ptr<const sdk::IAttribute> attribute(object.attribute(i));
            text << " " << attribute->name() << "=" << attribute->value();
        }
        m_objects.push_back(text.str());
        trackIds[object.typeId()].push_back(object.trackId());
    }

    std::mutex m_mutex;
    std::vector<std::pair<std::string, std::int64_t>> m_packets; // kind and time in us
    std::vector<std::string> m_objects, m_events, m_manifests;
};

// A real agent among services of the test's own: what the loop and the listener would do is done by
// the test. The temporary folder and the working directory are its own, too.
class AgentTest : public testing::Test
{
protected:
    static constexpr std::size_t kDeviceNumber = 7;

    AgentTest()
    {
        m_services = std::make_unique<BareServices>(folder.path());
        m_services->provider = host;
        startAgent();
    }

    ~AgentTest() override
    {
        agent.reset();
        m_services.reset();
        ini().sendFramesOverride = false;
        ini().CloudAPI = m_cloudApi;
    }

    void startAgent(std::size_t deviceNumber = kDeviceNumber)
    {
        const auto device = sdk::makePtr<FakeDevice>("{" + std::string(kDeviceId) + "}", "Gate");
        agent =
            sdk::makePtr<DeviceAgent>(device.get(), deviceNumber, m_services.get(), folder.path());
        agent->setHandler(handler.get());
    }

    BareServices& services() { return *m_services; }

    // Everything that a frame needs but a pipeline: the application counts as running.
    void openGates()
    {
        ini().sendFramesOverride = true;
        services().cloudState = kCloudConnected;
        for (const char* const executable : {kManagerExecutable, kEngineExecutable})
            folder.write(std::string("orlix_manager/bin/") + executable, "");
        services().managerInstallation().checkInstallation();
    }

    void processParameters(const std::string& tavoAi)
    {
        const JsonDocument record = parseJson(R"({"parameters": {"tavoAI": )" + tavoAi + "}}");
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

    // Null if the button answers nothing, or an error.
    sdk::Ptr<const sdk::IActiveSettingChangedResponse> press(const char* button)
    {
        const auto action = sdk::makePtr<ButtonPress>(button);
        sdk::Result<const sdk::IActiveSettingChangedResponse*> result;
        agent->getSettingsOnActiveSettingChange(&result, action.get());
        EXPECT_TRUE(result.isOk());
        return sdk::Ptr<const sdk::IActiveSettingChangedResponse>(result.value);
    }

    // Handles a result message and gives the error that its tree was left in.
    mpack_error_t handleResult(const Entries& entries)
    {
        Message message(map(entries));
        agent->handleResultMessage(message.root());
        return message.error();
    }

    [[nodiscard]] std::vector<FakeHost::Request> patches() const
    {
        return host->requests("PATCH /rest/v4/devices/");
    }

    const TemporaryFolder folder;
    const sdk::Ptr<FakeHost> host = sdk::makePtr<FakeHost>();
    const sdk::Ptr<FakeHandler> handler = sdk::makePtr<FakeHandler>();

private:
    const ScopedTempPath m_temporaryFolder{folder.path()};
    const char* const m_cloudApi = ini().CloudAPI;
    std::unique_ptr<BareServices> m_services;

protected:
    sdk::Ptr<DeviceAgent> agent; // goes before the services
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
