#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include <tavo/sdk/analytics/i_device_agent.h>
#include <tavo/sdk/analytics/i_uncompressed_video_frame.h>
#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/ptr.h>

#include "bare_services.h"
#include "device_agent/device_agent.h"
#include "inference/plugin_socket_listener.h"

namespace tavo::bench
{

// A temporary folder of a benchmark's own, for sockets and the rest. To be there before threads
// are.
struct OwnFolder
{
    OwnFolder();
    ~OwnFolder();
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    char path[32] = "/tmp/orlix_bench_XXXXXX";
};

// A host's frame around pixels that lie elsewhere.
class BorrowedFrame : public sdk::RefCountable<sdk::analytics::IUncompressedVideoFrame>
{
public:
    BorrowedFrame(const std::uint8_t* pixels, int width, int height) :
        m_pixels(pixels),
        m_width(width),
        m_height(height)
    {}

    std::int64_t timestampUs() const override;
    const char* data(int) const override { return reinterpret_cast<const char*>(m_pixels); }
    int width() const override { return m_width; }
    int height() const override { return m_height; }
    int lineSize(int) const override { return m_width * 3; }
    PixelFormat pixelFormat() const override { return PixelFormat::rgb; }
    int planeCount() const override { return 1; }
    int dataSize(int) const override { return m_width * m_height * 3; }

private:
    const std::uint8_t* const m_pixels; // not owned
    const int m_width;
    const int m_height;
};

// What the host gets; a benchmark waits here for the packets of a result.
class PacketCounter : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    void handleMetadata(sdk::analytics::IMetadataPacket* packet) override;
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent*) override {}
    void pushManifest(const sdk::IString*) override {}

    // Sleeps until there are `count` in all.
    void waitFor(std::uint32_t count);

    [[nodiscard]] std::uint32_t count() const { return m_count; }

private:
    std::atomic<std::uint32_t> m_count{0};
    std::atomic<std::uint32_t> m_awaited{0}; // waking for less would be timed as well
};

// Real agents that let every frame pass and a real listener, in a folder of their own. There is
// no host to ask, so they have nothing to do but frames and results.
class AgentRig final : private vms_server_plugins::analytics::orlix::ResultReceiver
{
public:
    explicit AgentRig(const std::string& folder, std::size_t cameras = 1);
    ~AgentRig();

    // False if the agent refused it.
    bool push(BorrowedFrame& frame, std::size_t camera = 0);

    [[nodiscard]] sdk::analytics::ConsumingDeviceAgent& agent(std::size_t camera) const
    {
        return *m_agents[camera];
    }

    // Handles a result as if it had come over the socket.
    void handle(mpack_node_t root) { deliverResult(0, root); }

    [[nodiscard]] const std::string& pluginSocketPath() const { return m_pluginSocketPath; }
    [[nodiscard]] PacketCounter& packets() { return *m_packets; }

private:
    // ResultReceiver: all results are the first agent's.
    bool deliverResult(std::uint32_t inputIndex, mpack_node_t root) override;

    const std::string m_pluginSocketPath;
    const sdk::Ptr<PacketCounter> m_packets;
    vms_server_plugins::analytics::orlix::BareServices m_services;
    std::vector<sdk::Ptr<vms_server_plugins::analytics::orlix::DeviceAgent>> m_agents;
    std::atomic<vms_server_plugins::analytics::orlix::SocketHandle> m_listeningSocket{
        vms_server_plugins::analytics::orlix::kInvalidSocket};
    std::stop_source m_shuttingDown;
    std::thread m_listener;
};

} // namespace tavo::bench
