// The events of one moment.
#pragma once

#include <tavo/sdk/analytics/helpers/metadata_base.h>
#include <tavo/sdk/analytics/i_event_metadata_packet.h>

namespace tavo::sdk::analytics
{

class EventMetadataPacket : public MetadataPacket<IEventMetadataPacket, IEventMetadata>
{
public:
    void addItem(Ptr<const IEventMetadata> item) { add(std::move(item), "eventMetadata"); }
};

} // namespace tavo::sdk::analytics
