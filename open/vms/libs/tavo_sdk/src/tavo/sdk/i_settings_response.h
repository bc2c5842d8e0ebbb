// What the library answers to settings: values and errors by setting name, and the model, a JSON
// text from which the host draws the dialog. Each of the three may be null: the host then keeps
// what it has.
#pragma once

#include <tavo/sdk/i_string.h>
#include <tavo/sdk/i_string_map.h>

namespace tavo::sdk
{

class ISettingsResponse : public Interface<ISettingsResponse>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::ISettingsResponse"};

    // the order is the ABI: append only
    virtual const IStringMap* values() const = 0;
    virtual const IStringMap* errors() const = 0;
    virtual const IString* model() const = 0;
};

} // namespace tavo::sdk
