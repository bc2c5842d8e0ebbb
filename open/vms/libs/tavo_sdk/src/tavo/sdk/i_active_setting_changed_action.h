// A user has worked an active setting of a settings dialog. Implemented by the host.
#pragma once

#include <tavo/sdk/i_string_map.h>

namespace tavo::sdk
{

class IActiveSettingChangedAction : public Interface<IActiveSettingChangedAction>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IActiveSettingChangedAction"};

    // the order is the ABI: append only

    virtual const char* activeSettingName() const = 0;

    // The dialog's values at this moment, applied or not.
    virtual const IStringMap* settingsValues() const = 0;

    // What the user entered into the form of the setting; null when it has none.
    virtual const IStringMap* params() const = 0;
};

} // namespace tavo::sdk
