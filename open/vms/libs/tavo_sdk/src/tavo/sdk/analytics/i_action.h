// An action that a user has chosen for a detected object. Implemented by the host.
#pragma once

#include <stdint.h>

#include <tavo/sdk/i_string_map.h>
#include <tavo/sdk/uuid.h>

namespace tavo::sdk::analytics
{

class IAction : public Interface<IAction>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IAction"};

    // the order is the ABI: append only
    virtual const char* actionId() const = 0;
    TAVO_RETURNS_CONST(Uuid, objectTrackId);
    TAVO_RETURNS_CONST(Uuid, deviceId);
    virtual int64_t timestampUs() const = 0;
    virtual const IStringMap* params() const = 0;
};

} // namespace tavo::sdk::analytics
