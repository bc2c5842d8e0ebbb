#include "agent_rig.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/ini.h"
#include "base/manager_files.h"
#include "fake_device.h"
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

constexpr char kParameters[] = R"({"parameters": {"tavoAI": {"deviceAdmin": "https://admin.example",
    "pipelines": [{"modelUUID": "6b8b7f2c", "modelNMS": 0.5, "Postprocessor": "LineCrossing",
        "chains": []}]}}})";

// Empty executables: they are looked for, and never started.
void installApplication(const std::string& folder)
{
    const std::filesystem::path bin =
        folder + manager_files::kRootFolder + manager_files::kBinFolder;
    std::filesystem::create_directories(bin);
    for (const char* const executable : {kManagerExecutable, kEngineExecutable})
        const std::ofstream file(bin / executable);
}

} // namespace

OwnFolder::OwnFolder()
{
    if (!mkdtemp(path))
        std::abort();
    setenv("TMPDIR", path, 1);
}

OwnFolder::~OwnFolder()
{
    std::filesystem::remove_all(path);
}

std::int64_t BorrowedFrame::timestampUs() const
{
    return static_cast<std::int64_t>(time_now_us());
}

void PacketCounter::handleMetadata(sdk::analytics::IMetadataPacket* packet)
{
    const sdk::Ptr<sdk::analytics::IMetadataPacket> owned(packet);
    if (++m_count >= m_awaited)
        m_count.notify_all();
}

void PacketCounter::waitFor(std::uint32_t count)
{
    m_awaited = count;
    for (std::uint32_t now = m_count; now < count; now = m_count)
        m_count.wait(now);
}

AgentRig::AgentRig(const std::string& folder, std::size_t cameras) :
    m_pluginSocketPath(folder + "/" + protocol::kPluginSocketFile),
    m_packets(sdk::makePtr<PacketCounter>()),
    m_services(folder)
{
    ini().sendFramesOverride = true;
    ini().logToFile = false;
    installApplication(folder);
    m_services.cloudState = kCloudConnected;
    m_services.managerInstallation().checkInstallation();

    const auto camera =
        sdk::makePtr<FakeDevice>("0b5b5d3f-0000-4000-8000-000000000001", "Gate north");
    const auto record = parseJson(kParameters);
    for (std::size_t i = 0; i < cameras; ++i)
    {
        m_agents.push_back(sdk::makePtr<DeviceAgent>(camera.get(), i, &m_services, folder));
        m_agents.back()->setHandler(m_packets.get());
        m_agents.back()->processDeviceParameters(yyjson_doc_get_root(record.get()));
    }
    m_listener = std::thread(
        [this] {
            listenerLoop(m_pluginSocketPath, m_listeningSocket, m_shuttingDown.get_token(), *this);
        });
}

AgentRig::~AgentRig()
{
    m_shuttingDown.request_stop();
    m_listener.join(); // at the latest after its tick of a second
}

bool AgentRig::deliverResult(std::uint32_t /*inputIndex*/, mpack_node_t root)
{
    m_agents.front()->handleResultMessage(root);
    return true;
}

bool AgentRig::push(BorrowedFrame& frame, std::size_t camera)
{
    sdk::Result<void> result;
    m_agents[camera]->doPushDataPacket(&result, &frame);
    const sdk::Ptr<const sdk::IString> error(result.errorMessage);
    return !error;
}

} // namespace tavo::bench
