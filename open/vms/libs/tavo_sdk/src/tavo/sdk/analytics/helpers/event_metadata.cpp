#include <tavo/sdk/analytics/helpers/event_metadata.h>

#include <tavo/kit/debug.h>
#include <tavo/sdk/analytics/helpers/indexed.h>

namespace tavo::sdk::analytics
{

void EventMetadata::addAttribute(Ptr<const IAttribute> attribute)
{
    if (kit::verify(static_cast<bool>(attribute), "attribute"))
        m_attributes.push_back(std::move(attribute));
}

const IAttribute* EventMetadata::attribute(int index) const
{
    return objectAt(m_attributes, index);
}

void EventMetadata::getTrackId(Uuid* outValue) const
{
    if (kit::verify(outValue, "outValue"))
        *outValue = m_trackId;
}

} // namespace tavo::sdk::analytics
