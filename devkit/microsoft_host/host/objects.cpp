#include "objects.h"

#include <tavo/sdk/analytics/i_event_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>

namespace host
{

namespace
{

void lookAt(const IObjectMetadata* object)
{
    CHECK(is(object->typeId(), "tavo.orlix.car"));
    CHECK(
        object->trackId() == (Uuid{{'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'a', 'b'}}));
    CHECK(object->boundingBox() == (Rect{0.25f, 0.5f, 0.125f, 0.25f}));
    CHECK(object->attributeCount() == 1);
    const Owned<const IAttribute> attribute(object->attribute(0));
    CHECK(is(attribute->name(), "colour") && is(attribute->value(), "red"));
}

void lookAt(const IEventMetadata* event)
{
    CHECK(is(event->typeId(), "tavo.orlix.counted"));
    CHECK(is(event->caption(), "Objects counted"));
    CHECK(is(event->description(), "\ncar: 2\n"));
    CHECK(event->isActive() && event->regionId().isNull());
}

template <class Packet>
bool receive(IMetadataPacket* metadataPacket, const char* what)
{
    const Owned<Packet> packet(cast<Packet>(metadataPacket));
    if (!packet.get())
        return false;
    CHECK(packet->timestampUs() == 1000000 && packet->count() == 1);
    lookAt(Owned(packet->at(0)).get());
    hostCalled(what);
    return true;
}

} // namespace

void EngineHandler::handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* event)
{
    hostReads("tavo::sdk::IIntegrationDiagnosticEvent", event);
    hostCalled("event of an engine");
}

void AgentHandler::handleMetadata(IMetadataPacket* metadataPacket)
{
    const Owned<IMetadataPacket> packet(metadataPacket);
    CHECK(
        receive<IObjectMetadataPacket>(packet.get(), "objects") ||
        receive<IEventMetadataPacket>(packet.get(), "events"));
}

void AgentHandler::handleIntegrationDiagnosticEvent(IIntegrationDiagnosticEvent* event)
{
    hostReads("tavo::sdk::IIntegrationDiagnosticEvent", event);
    hostCalled("event of an agent");
}

void AgentHandler::pushManifest(const IString* manifest)
{
    CHECK(manifest->str()[0] == '{');
    hostCalled("pushManifest");
}

} // namespace host

tavo::sdk::IRefCountable* makeHostObject(const char* interfaceId)
{
    using namespace host;
    const struct
    {
        const char* const* ids;
        IRefCountable* (*make)();
    } kObjects[] = {
        {IString::kInterfaceIds, []() -> IRefCountable* { return new Text("str"); }},
        {IStringMap::kInterfaceIds, []() -> IRefCountable* { return new TextMap("key", "value"); }},
        {IUtilityProvider::kInterfaceIds,
         []() -> IRefCountable* { return new Provider("homeDirectory"); }},
        {IDeviceInfo::kInterfaceIds, []() -> IRefCountable* { return new Device; }},
        {IEngineInfo::kInterfaceIds, []() -> IRefCountable* { return new EngineInfo; }},
        {IMetadataTypes::kInterfaceIds, []() -> IRefCountable* { return new MetadataTypes; }},
        {IEngine::IHandler::kInterfaceIds, []() -> IRefCountable* { return new EngineHandler; }},
        {IDeviceAgent::IHandler::kInterfaceIds,
         []() -> IRefCountable* { return new AgentHandler; }},
        {IAction::kInterfaceIds, []() -> IRefCountable* { return new Action; }},
        {IActiveSettingChangedAction::kInterfaceIds,
         []() -> IRefCountable* { return new ActiveSetting("activeSettingName"); }},
        {IDataPacket::kInterfaceIds, []() -> IRefCountable* { return new Packet<IDataPacket>; }},
        {ICompressedVideoPacket::kInterfaceIds,
         []() -> IRefCountable* { return new Bytes<ICompressedVideoPacket>; }},
        {ICustomMetadataPacket::kInterfaceIds,
         []() -> IRefCountable* { return new Bytes<ICustomMetadataPacket>; }},
        {IUncompressedVideoFrame::kInterfaceIds, []() -> IRefCountable* { return new Frame; }},
    };
    for (const auto& object : kObjects)
    {
        if (isSameText(interfaceId, object.ids[0]))
            return object.make();
    }
    return nullptr;
}
