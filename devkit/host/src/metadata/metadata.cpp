#include "metadata/metadata.h"

#include <tavo/sdk/analytics/i_event_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/helpers/uuid.h>

namespace tavo::devkit
{

namespace
{

using namespace sdk::analytics;
using sdk::Ptr;

std::string copyText(const char* text)
{
    return text ? text : "";
}

template <class Item>
std::vector<Attribute> readAttributes(const Item& item)
{
    std::vector<Attribute> attributes;
    for (int i = 0; i < item.attributeCount(); ++i)
    {
        if (const Ptr<const sdk::IAttribute> attribute{item.attribute(i)})
            attributes.push_back({copyText(attribute->name()), copyText(attribute->value())});
    }
    return attributes;
}

DetectedObject readObject(const IObjectMetadata& object)
{
    DetectedObject result;
    result.typeId = copyText(object.typeId());
    result.trackId = toText(object.trackId());
    result.confidence = object.confidence();
    result.box = object.boundingBox();
    result.attributes = readAttributes(object);
    return result;
}

DetectedEvent readEvent(const IEventMetadata& event)
{
    DetectedEvent result;
    result.typeId = copyText(event.typeId());
    result.caption = copyText(event.caption());
    result.description = copyText(event.description());
    result.isActive = event.isActive();
    result.confidence = event.confidence();
    return result;
}

} // namespace

Metadata readMetadata(IMetadataPacket* packet)
{
    Metadata metadata;
    metadata.timestampUs = packet->timestampUs();
    metadata.durationUs = packet->durationUs();
    if (const auto objects = sdk::interfaceCast<IObjectMetadataPacket>(packet))
    {
        metadata.kind = Metadata::Kind::objects;
        for (int i = 0; i < objects->count(); ++i)
        {
            if (const Ptr<const IObjectMetadata> object{objects->at(i)})
                metadata.objects.push_back(readObject(*object));
        }
    }
    else if (const auto events = sdk::interfaceCast<IEventMetadataPacket>(packet))
    {
        metadata.kind = Metadata::Kind::events;
        for (int i = 0; i < events->count(); ++i)
        {
            if (const Ptr<const IEventMetadata> event{events->at(i)})
                metadata.events.push_back(readEvent(*event));
        }
    }
    return metadata;
}

std::string takeText(const sdk::IString* string)
{
    const Ptr<const sdk::IString> owner(string);
    return owner ? copyText(owner->str()) : std::string();
}

std::map<std::string, std::string> takeMap(const sdk::IStringMap* map)
{
    const Ptr<const sdk::IStringMap> owner(map);
    std::map<std::string, std::string> result;
    if (owner && !sdk::toStdMap(owner.get(), &result))
        result.clear();
    return result;
}

} // namespace tavo::devkit
