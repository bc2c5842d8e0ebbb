// Texts by text. Keys are unique and stand in sorted order.
#pragma once

#include <tavo/sdk/interface.h>

namespace tavo::sdk
{

class IStringMap : public Interface<IStringMap>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IStringMap"};

    // the order is the ABI: append only

    virtual int count() const = 0;

    // Null for an index out of range.
    virtual const char* key(int index) const = 0;

    // Null for a key that is not there.
    virtual const char* value(const char* key) const = 0;

    // Null for an index out of range.
    virtual const char* valueAt(int index) const = 0;
};

} // namespace tavo::sdk
