// The objects of one moment.
#pragma once

#include <tavo/sdk/analytics/helpers/metadata_base.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>

namespace tavo::sdk::analytics
{

class ObjectMetadataPacket : public MetadataPacket<IObjectMetadataPacket, IObjectMetadata>
{
public:
    void addItem(Ptr<const IObjectMetadata> item) { add(std::move(item), "objectMetadata"); }
};

} // namespace tavo::sdk::analytics
