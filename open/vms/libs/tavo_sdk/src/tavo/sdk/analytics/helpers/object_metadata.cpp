#include <tavo/sdk/analytics/helpers/object_metadata.h>

#include <tavo/kit/debug.h>
#include <tavo/sdk/analytics/helpers/indexed.h>

namespace tavo::sdk::analytics
{

void ObjectMetadata::addAttribute(Ptr<const IAttribute> attribute)
{
    if (kit::verify(static_cast<bool>(attribute), "attribute"))
        m_attributes.push_back(std::move(attribute));
}

const IAttribute* ObjectMetadata::attribute(int index) const
{
    return objectAt(m_attributes, index);
}

} // namespace tavo::sdk::analytics
