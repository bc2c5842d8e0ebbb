// One event. Implemented by the library.
#pragma once

#include <tavo/sdk/i_attribute.h>
#include <tavo/sdk/uuid.h>

namespace tavo::sdk::analytics
{

class IEventMetadata : public Interface<IEventMetadata>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IEventMetadata"};

    // the order is the ABI: append only
    virtual const char* typeId() const = 0;
    virtual float confidence() const = 0; // 0 to 1
    virtual const IAttribute* attribute(int index) const = 0; // null out of range
    virtual int attributeCount() const = 0;
    virtual const char* caption() const = 0;
    virtual const char* description() const = 0;
    virtual bool isActive() const = 0; // the event begins or goes on; false: it has ended
    virtual void getTrackId(Uuid* outValue) const = 0; // of the object concerned; null: none
    virtual const char* key() const = 0; // events of one type and key are one story
    TAVO_RETURNS_CONST(Uuid, regionId); // of the area concerned; null: none
};

} // namespace tavo::sdk::analytics
