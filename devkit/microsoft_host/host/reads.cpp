// What the host reads of the objects that the library hands out.

#include <tavo/sdk/analytics/i_event_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/i_active_setting_changed_response.h>
#include <tavo/sdk/i_integration_diagnostic_event.h>

#include "freestanding.h"

namespace host
{

using namespace tavo::sdk;
using namespace tavo::sdk::analytics;

namespace
{

void read(const IString* text)
{
    CHECK(is(text->str(), "str"));
}

void read(const IStringMap* map)
{
    CHECK(map->count() == 2);
    CHECK(is(map->key(1), "key") && !map->key(2));
    CHECK(is(map->value("key"), "value") && !map->value("none"));
    CHECK(is(map->valueAt(0), "first"));
}

void read(const IAttribute* attribute)
{
    CHECK(attribute->type() == 5);
    CHECK(is(attribute->name(), "name"));
    CHECK(is(attribute->value(), "value"));
    CHECK(attribute->confidence() == 0.75f);
}

void read(const IActionResponse* response)
{
    CHECK(is(response->actionUrl(), "actionUrl"));
    CHECK(is(response->messageToUser(), "messageToUser"));
    CHECK(response->useProxy() && !response->useDeviceCredentials());
}

void read(const ISettingsResponse* response)
{
    read(Owned(response->values()).get());
    CHECK(!response->errors());
    read(Owned(response->model()).get());
}

void read(const IActiveSettingChangedResponse* response)
{
    read(Owned(response->actionResponse()).get());
    read(Owned(response->settingsResponse()).get());
}

void read(const IIntegrationDiagnosticEvent* event)
{
    CHECK(event->level() == IIntegrationDiagnosticEvent::Level::error);
    CHECK(is(event->caption(), "caption"));
    CHECK(is(event->description(), "description"));
}

template <class Metadata>
void readAttributes(const Metadata* metadata)
{
    CHECK(metadata->attributeCount() == 1 && !metadata->attribute(1));
    read(Owned(metadata->attribute(0)).get());
}

void read(const IObjectMetadata* object)
{
    CHECK(is(object->typeId(), "typeId"));
    CHECK(object->confidence() == 0.5f);
    readAttributes(object);
    CHECK(object->trackId() == (Uuid{{1, 2, 3}}));
    CHECK(is(object->subtype(), "subtype"));
    CHECK(object->boundingBox() == (Rect{1, 2, 3, 4}));
}

void read(const IEventMetadata* event)
{
    CHECK(is(event->typeId(), "typeId"));
    CHECK(event->confidence() == 0.5f);
    readAttributes(event);
    CHECK(is(event->caption(), "caption"));
    CHECK(is(event->description(), "description"));
    CHECK(event->isActive());
    Uuid trackId;
    event->getTrackId(&trackId);
    CHECK(trackId == (Uuid{{1, 2, 3}}));
    CHECK(is(event->key(), "key"));
    CHECK(event->regionId() == (Uuid{{4, 5, 6}}));
}

template <class Packet>
void readPacket(const Packet* packet)
{
    CHECK(packet->timestampUs() == 7);
    CHECK(packet->durationUs() == 8);
    CHECK(packet->count() == 1 && !packet->at(1));
    read(Owned(packet->at(0)).get());
    CHECK(packet->flags() == 9);
}

void read(const IObjectMetadataPacket* packet)
{
    readPacket(packet);
}

void read(const IEventMetadataPacket* packet)
{
    readPacket(packet);
}

// Whether it was one of that interface.
template <class Interface>
bool tryReading(const char* interfaceId, IRefCountable* object)
{
    if (!isSameText(interfaceId, Interface::kInterfaceIds[0]))
        return false;
    const Owned<Interface> whole(cast<Interface>(object));
    CHECK(whole.get());
    if (whole.get())
        read(whole.get());
    return true;
}

template <class... Interfaces>
bool tryReadingAny(const char* interfaceId, IRefCountable* object)
{
    return (tryReading<Interfaces>(interfaceId, object) || ...);
}

} // namespace

} // namespace host

void hostReads(const char* interfaceId, tavo::sdk::IRefCountable* object)
{
    using namespace host;
    const bool isKnown = tryReadingAny<
        IString, IStringMap, IAttribute, IActionResponse, ISettingsResponse,
        IActiveSettingChangedResponse, IIntegrationDiagnosticEvent, IObjectMetadata, IEventMetadata,
        IObjectMetadataPacket, IEventMetadataPacket>(interfaceId, object);
    CHECK(isKnown);
}
