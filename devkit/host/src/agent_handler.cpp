#include "agent_handler.h"

#include <algorithm>

#include "common/clock.h"

namespace tavo::devkit
{

AgentHandler::AgentHandler(MetadataSink::Origin origin, Receivers receivers) :
    m_origin(std::move(origin)),
    m_receivers(receivers)
{}

void AgentHandler::handleMetadata(sdk::analytics::IMetadataPacket* metadataPacket)
{
    const sdk::Ptr<sdk::analytics::IMetadataPacket> owner(metadataPacket); // ours by the interface
    const int64_t nowUs = wallClockUs();
    const Metadata metadata = readMetadata(metadataPacket);
    m_receivers.statistics.onMetadata(metadata, nowUs);
    m_receivers.sink.writeMetadata(m_origin, metadata);
    if (m_receivers.annotator)
        m_receivers.annotator->onMetadata(metadata);
    for (const DetectedEvent& event : metadata.events)
        printEvent(event);
}

void AgentHandler::handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent* event)
{
    m_receivers.sink.writeDiagnostic(
        &m_origin, int(event->level()), event->caption(), event->description());
    m_receivers.console.line(
        "camera " + std::to_string(m_origin.camera) + " diagnostic: " + event->caption() + ": " +
        event->description());
}

void AgentHandler::pushManifest(const sdk::IString* manifest)
{
    const std::string text = manifest && manifest->str() ? manifest->str() : "";
    {
        const std::lock_guard lock(m_mutex);
        if (text == m_manifest)
            return;
        m_manifest = text;
    }
    m_receivers.sink.writeDocument("deviceManifest", &m_origin, text);
    m_manifestChanged = true;
}

// The throughput comes with every result and is in the live line; counts are shown as they change.
void AgentHandler::printEvent(const DetectedEvent& event)
{
    if (event.typeId == kFpsEventTypeId)
        return;
    if (event.typeId == kCountedEventTypeId)
    {
        const std::lock_guard lock(m_mutex);
        if (event.description == m_lastCounts)
            return;
        m_lastCounts = event.description;
    }
    std::string text = "camera " + std::to_string(m_origin.camera) + " event: " + event.caption +
        ": " + event.description;
    std::replace(text.begin(), text.end(), '\n', ' ');
    m_receivers.console.line(text);
}

} // namespace tavo::devkit
