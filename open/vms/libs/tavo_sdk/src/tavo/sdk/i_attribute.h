// A named property of a detected object or of an event.
#pragma once

#include <tavo/sdk/interface.h>

namespace tavo::sdk
{

class IAttribute : public Interface<IAttribute>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IAttribute"};

    // A type that says nothing about the value, which is then shown as it stands.
    static constexpr int kUndefinedType = 0;

    // the order is the ABI: append only
    virtual int type() const = 0;
    virtual const char* name() const = 0;
    virtual const char* value() const = 0;
    virtual float confidence() const = 0; // 0 to 1
};

} // namespace tavo::sdk
