#include <tavo/sdk/analytics/helpers/object_metadata_packet.h>

#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/analytics/helpers/indexed.h>

namespace tavo::sdk::analytics
{

void ObjectMetadataPacket::addItem(Ptr<const IObjectMetadata> objectMetadata)
{
    if (kit::verify(static_cast<bool>(objectMetadata), "objectMetadata"))
        m_items.push_back(std::move(objectMetadata));
}

const IObjectMetadata* ObjectMetadataPacket::at(int index) const
{
    return objectAt(m_items, index);
}

} // namespace tavo::sdk::analytics
