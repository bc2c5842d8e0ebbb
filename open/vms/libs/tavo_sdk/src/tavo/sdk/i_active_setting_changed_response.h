// What the library answers when a user works an active setting. Either part may be null.
#pragma once

#include <tavo/sdk/i_action_response.h>
#include <tavo/sdk/i_settings_response.h>

namespace tavo::sdk
{

class IActiveSettingChangedResponse : public Interface<IActiveSettingChangedResponse>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IActiveSettingChangedResponse"};

    // the order is the ABI: append only
    virtual const IActionResponse* actionResponse() const = 0;
    virtual const ISettingsResponse* settingsResponse() const = 0;
};

} // namespace tavo::sdk
