#include <tavo/sdk/analytics/helpers/event_metadata_packet.h>

#include <utility>

#include <tavo/kit/debug.h>
#include <tavo/sdk/analytics/helpers/indexed.h>

namespace tavo::sdk::analytics
{

void EventMetadataPacket::addItem(Ptr<const IEventMetadata> eventMetadata)
{
    if (kit::verify(static_cast<bool>(eventMetadata), "eventMetadata"))
        m_items.push_back(std::move(eventMetadata));
}

const IEventMetadata* EventMetadataPacket::at(int index) const
{
    return objectAt(m_items, index);
}

} // namespace tavo::sdk::analytics
