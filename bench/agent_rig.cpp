#include "agent_rig.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <tavo/sdk/analytics/i_device_info.h>

#include "core/base/ini.h"
#include "core/engine.h"
#include "core/plugin.h"
#include "device_agent/device_agent.h"
#include "inference/protocol.h"
#include "remote/cloud_client.h"
#include "utils/clock.h"
#include "utils/json.h"
#include "utils/platform_names.h"

namespace tavo::bench
{

using namespace vms_server_plugins::analytics::orlix;

namespace
{

class Camera : public sdk::RefCountable<sdk::analytics::IDeviceInfo>
{
public:
    const char* id() const override { return "0b5b5d3f-0000-4000-8000-000000000001"; }
    const char* vendor() const override { return ""; }
    const char* model() const override { return ""; }
    const char* firmware() const override { return ""; }
    const char* name() const override { return "Gate north"; }
    const char* url() const override { return ""; }
    const char* login() const override { return ""; }
    const char* password() const override { return ""; }
    std::int32_t channelNumber() const override { return 0; }
    const char* sharedId() const override { return ""; }
    const char* logicalId() const override { return ""; }
};

constexpr char kParameters[] = R"({"parameters": {"tavoAI": {"deviceAdmin": "https://admin.example",
    "pipelines": [{"modelUUID": "6b8b7f2c", "modelNMS": 0.5, "Postprocessor": "LineCrossing",
        "chains": []}]}}})";

// Empty executables: they are looked for, and never started.
void installApplication(const std::string& folder)
{
    const std::filesystem::path bin = folder + "/orlix_manager/bin";
    std::filesystem::create_directories(bin);
    std::ofstream{bin / kManagerExecutable};
    std::ofstream{bin / kEngineExecutable};
}

} // namespace

std::int64_t BorrowedFrame::timestampUs() const
{
    return static_cast<std::int64_t>(time_now_us());
}

void PacketCounter::handleMetadata(sdk::analytics::IMetadataPacket* packet)
{
    const sdk::Ptr<sdk::analytics::IMetadataPacket> owned(packet);
    ++m_count;
    m_count.notify_all();
}

void PacketCounter::waitFor(std::uint32_t count) const
{
    for (std::uint32_t now = m_count; now < count; now = m_count)
        m_count.wait(now);
}

AgentRig::AgentRig(const std::string& folder) :
    m_pluginSocketPath(folder + "/" + protocol::kPluginSocketFile),
    m_packets(sdk::makePtr<PacketCounter>()),
    m_plugin(sdk::makePtr<Plugin>())
{
    ini().sendFramesOverride = true;
    ini().logToFile = false;
    installApplication(folder);
    m_engine = sdk::makePtr<Engine>(m_plugin.get(), folder);
    m_engine->cloudConnectionState = kCloudConnected;
    m_engine->managerInstallation().checkInstallation();

    const auto camera = sdk::makePtr<Camera>();
    const auto obtained = m_engine->doObtainDeviceAgent(camera.get());
    m_agent = sdk::Ptr<DeviceAgent>(static_cast<DeviceAgent*>(obtained.value));
    if (!m_agent)
        throw std::runtime_error("no agent");
    m_agent->setHandler(m_packets.get());
    const auto record = parseJson(kParameters);
    m_agent->processDeviceParameters(yyjson_doc_get_root(record.get()));
}

AgentRig::~AgentRig() = default;

bool AgentRig::push(BorrowedFrame& frame)
{
    sdk::Result<void> result;
    m_agent->doPushDataPacket(&result, &frame);
    const sdk::Ptr<const sdk::IString> error(result.errorMessage);
    return !error;
}

} // namespace tavo::bench
