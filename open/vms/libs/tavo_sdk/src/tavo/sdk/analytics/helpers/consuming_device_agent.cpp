#include <tavo/sdk/analytics/helpers/consuming_device_agent.h>

#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/analytics/i_event_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/string.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/helpers/to_string.h>

namespace tavo::sdk::analytics
{

namespace
{

constexpr const char* kPrefixTag = "_device";

// For the log.
std::string packetText(IMetadataPacket* packet)
{
    if (const auto objects = interfaceCast<IObjectMetadataPacket>(packet))
        return "Object metadata packet:\n" + toJsonString(objects.get());
    if (const auto events = interfaceCast<IEventMetadataPacket>(packet))
        return "Event metadata packet:\n" + toJsonString(events.get());

    constexpr const char* kBestShotId = "tavo::sdk::analytics::IObjectTrackBestShotPacket2";
    const char* const kind = Ptr(packet->queryInterface(kBestShotId)) ? "Best Shot" : "Unknown";
    return kind + (" metadata packet at " + std::to_string(packet->timestampUs()));
}

} // namespace

ConsumingDeviceAgent::ConsumingDeviceAgent(
    const IDeviceInfo* deviceInfo, bool enableOutput, const std::string& printPrefix) :
    m_output(
        enableOutput,
        makePrintPrefix(printPrefix, kPrefixTag, deviceInfo ? deviceInfo->name() : nullptr)),
    m_deviceInfo(addRefToPtr(deviceInfo))
{
    if (m_output.isPrinting())
        m_output.print("Created for device:\n" + toJsonString(deviceInfo));
}

ConsumingDeviceAgent::~ConsumingDeviceAgent()
{
    m_output.print("Destroyed");
}

Result<const ISettingsResponse*> ConsumingDeviceAgent::setSettings(const IStringMap* settings)
{
    m_output.print("Received settings");

    return atBorder(
        [&]() -> Result<const ISettingsResponse*>
        {
            if (!m_hostState.setSettings(settings))
                return error(ErrorCode::invalidParams, "Settings are invalid");
            return settingsReceived();
        });
}

Result<const ISettingsResponse*> ConsumingDeviceAgent::pluginSideSettings() const
{
    return {};
}

Result<const IString*> ConsumingDeviceAgent::manifest() const
{
    return atBorder([this]() -> Result<const IString*> { return new String(manifestString()); });
}

void ConsumingDeviceAgent::setHandler(IDeviceAgent::IHandler* handler)
{
    atBorder([&] { m_hostState.setHandler(handler); });
}

void ConsumingDeviceAgent::setNeededMetadataTypes(const IMetadataTypes* /*metadataTypes*/) {}

void ConsumingDeviceAgent::doPushDataPacket(Result<void>* outResult, IDataPacket* dataPacket)
{
    if (!kit::verify(outResult, "outResult"))
        return;

    *outResult = atBorder([&] { return push(dataPacket); });
    m_output.print("doPushDataPacket() END");
}

void ConsumingDeviceAgent::finalize()
{
    m_output.print("finalize()");
}

void ConsumingDeviceAgent::getSettingsOnActiveSettingChange(
    Result<const IActiveSettingChangedResponse*>* outResult,
    const IActiveSettingChangedAction* /*action*/)
{
    if (kit::verify(outResult, "outResult"))
        *outResult = {};
}

bool ConsumingDeviceAgent::pushCompressedVideoFrame(
    Ptr<const ICompressedVideoPacket> /*videoPacket*/)
{
    return true;
}

bool ConsumingDeviceAgent::pushUncompressedVideoFrame(
    Ptr<const IUncompressedVideoFrame> /*videoFrame*/)
{
    return true;
}

bool ConsumingDeviceAgent::pushCustomMetadataPacket(
    Ptr<const ICustomMetadataPacket> /*metadataPacket*/)
{
    return true;
}

bool ConsumingDeviceAgent::pullMetadataPackets(MetadataPackets* /*outPackets*/)
{
    return true;
}

Result<const ISettingsResponse*> ConsumingDeviceAgent::settingsReceived()
{
    return {};
}

void ConsumingDeviceAgent::pushMetadataPacket(Ptr<IMetadataPacket> metadataPacket) const
{
    processMetadataPacket(std::move(metadataPacket), /*position*/ 0);
}

void ConsumingDeviceAgent::pushManifest(const std::string& manifest) const
{
    const Ptr<IDeviceAgent::IHandler> hostHandler = handler();
    if (!hostHandler)
    {
        m_output.printAlways(
            "pushManifest(): INTERNAL ERROR: setHandler() was not called; ignoring the manifest");
        return;
    }
    const auto text = makePtr<String>(manifest);
    atBorder([&] { hostHandler->pushManifest(text.get()); });
}

void ConsumingDeviceAgent::pushIntegrationDiagnosticEvent(
    IIntegrationDiagnosticEvent::Level level, std::string caption, std::string description) const
{
    m_hostState.pushDiagnosticEvent(
        level, std::move(caption), std::move(description), m_output,
        "pushIntegrationDiagnosticEvent(): INTERNAL ERROR: "
        "setHandler() was not called; ignoring Integration Diagnostic Event.");
}

Result<void> ConsumingDeviceAgent::push(IDataPacket* dataPacket)
{
    if (m_output.isPrinting())
    {
        m_output.print(
            "doPushDataPacket() BEGIN" +
            (dataPacket ? ": timestamp " + std::to_string(dataPacket->timestampUs()) : ""));
    }
    const Result<void> pushed = pushByKind(dataPacket);
    return pushed.isOk() ? pullMetadata() : pushed;
}

Result<void> ConsumingDeviceAgent::pushByKind(IDataPacket* dataPacket)
{
    if (!dataPacket)
        return error(ErrorCode::invalidParams, "dataPacket is null; discarding it.");

    if (const std::int64_t timestampUs = dataPacket->timestampUs(); timestampUs < 0)
    {
        return error(
            ErrorCode::invalidParams,
            "dataPacket has invalid timestamp " + std::to_string(timestampUs) +
                "; discarding the packet.");
    }

    if (auto videoPacket = interfaceCast<ICompressedVideoPacket>(dataPacket))
    {
        if (!pushCompressedVideoFrame(std::move(videoPacket)))
            return error(ErrorCode::otherError, "pushCompressedVideoFrame() failed.");
    }
    else if (auto videoFrame = interfaceCast<IUncompressedVideoFrame>(dataPacket))
    {
        if (!pushUncompressedVideoFrame(std::move(videoFrame)))
            return error(ErrorCode::otherError, "pushUncompressedVideoFrame() failed.");
    }
    else if (auto metadataPacket = interfaceCast<ICustomMetadataPacket>(dataPacket))
    {
        if (!pushCustomMetadataPacket(std::move(metadataPacket)))
            return error(ErrorCode::otherError, "pushCustomMetadataPacket() failed.");
    }
    else
    {
        return error(ErrorCode::invalidParams, "Unsupported frame supplied; ignored.");
    }
    return {};
}

Result<void> ConsumingDeviceAgent::pullMetadata()
{
    if (!m_hostState.hasHandler())
        return error(ErrorCode::internalError, "setHandler() was not called.");

    MetadataPackets metadataPackets;
    if (!pullMetadataPackets(&metadataPackets))
        return error(ErrorCode::otherError, "pullMetadataPackets() failed.");

    processMetadataPackets(std::move(metadataPackets));
    return {};
}

void ConsumingDeviceAgent::processMetadataPackets(MetadataPackets metadataPackets) const
{
    if (metadataPackets.empty())
        return;

    if (m_output.isPrinting())
    {
        m_output.print(
            "processMetadataPackets(): Producing " + std::to_string(metadataPackets.size()) +
            " metadata packet(s).");
    }
    int position = 0;
    for (Ptr<IMetadataPacket>& metadataPacket : metadataPackets)
        processMetadataPacket(std::move(metadataPacket), position++);
}

void ConsumingDeviceAgent::processMetadataPacket(
    Ptr<IMetadataPacket> metadataPacket, int position) const
{
    const Ptr<IDeviceAgent::IHandler> hostHandler = handler();
    if (!hostHandler)
    {
        m_output.printAlways("INTERNAL ERROR: setHandler() was not called; ignoring the packet");
        return;
    }

    if (!metadataPacket)
    {
        m_output.printAlways(
            "processMetadataPacket(): WARNING: Null metadata packet " + std::to_string(position) +
            " found; discarded.");
        return;
    }

    if (m_output.isPrinting())
        m_output.print("processMetadataPacket(): " + packetText(metadataPacket.get()));

    kit::verify(metadataPacket->timestampUs() >= 0, "metadataPacket->timestampUs() >= 0");
    atBorder([&] { hostHandler->handleMetadata(metadataPacket.releasePtr()); });
}

} // namespace tavo::sdk::analytics
