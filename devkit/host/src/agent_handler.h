#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include <tavo/sdk/analytics/i_device_agent.h>
#include <tavo/sdk/helpers/ref_countable.h>

#include "common/console.h"
#include "media/annotator.h"
#include "metadata/metadata_sink.h"
#include "metadata/statistics.h"

namespace tavo::devkit
{

// What a device agent's metadata goes to. The library calls on its own threads with its locks held,
// so nothing here calls back or waits for long.
class AgentHandler : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    // All are not owned and outlive the last reference to this object; `annotator` may be null.
    struct Receivers
    {
        MetadataSink& sink;
        CameraStatistics& statistics;
        Console& console;
        Annotator* annotator = nullptr;
    };

    AgentHandler(MetadataSink::Origin origin, Receivers receivers);

    // Whether the types in the manifest have changed since this was last asked.
    [[nodiscard]] bool takeManifestChange() { return m_manifestChanged.exchange(false); }

    // IDeviceAgent::IHandler:
    void handleMetadata(sdk::analytics::IMetadataPacket* metadataPacket) override;
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent* event) override;
    void pushManifest(const sdk::IString* manifest) override;

private:
    void printEvent(const DetectedEvent& event);

private:
    const MetadataSink::Origin m_origin;
    const Receivers m_receivers;
    std::atomic<bool> m_manifestChanged = false;
    std::mutex m_mutex; // over the texts
    std::string m_manifest;
    std::string m_lastCounts;
};

} // namespace tavo::devkit
