// One detected object. Implemented by the library.
#pragma once

#include <tavo/sdk/analytics/rect.h>
#include <tavo/sdk/i_attribute.h>
#include <tavo/sdk/uuid.h>

namespace tavo::sdk::analytics
{

class IObjectMetadata : public Interface<IObjectMetadata>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IObjectMetadata"};

    // the order is the ABI: append only
    virtual const char* typeId() const = 0;
    virtual float confidence() const = 0; // 0 to 1
    virtual const IAttribute* attribute(int index) const = 0; // null out of range
    virtual int attributeCount() const = 0;
    TAVO_RETURNS_CONST(Uuid, trackId);
    virtual const char* subtype() const = 0;
    TAVO_RETURNS_CONST(Rect, boundingBox);
};

} // namespace tavo::sdk::analytics
