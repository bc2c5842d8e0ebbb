#pragma once

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/i_active_setting_changed_action.h>
#include <tavo/sdk/i_active_setting_changed_response.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// A user's press of a button in a dialog with two values.
class ButtonPress : public sdk::RefCountable<sdk::IActiveSettingChangedAction>
{
public:
    explicit ButtonPress(const char* button) :
        m_button(button)
    {}

    const char* activeSettingName() const override { return m_button; }
    const sdk::IStringMap* settingsValues() const override
    {
        return new sdk::StringMap({{"visualise_car", "x"}, {"other", "x"}});
    }
    const sdk::IStringMap* params() const override { return nullptr; }

private:
    const char* const m_button;
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
