#pragma once

#include <utility>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_active_setting_changed_response.h>
#include <tavo/sdk/ptr.h>

namespace tavo::sdk
{

// Filled by one thread, then handed over. A part that was never set is null.
class ActiveSettingChangedResponse : public RefCountable<IActiveSettingChangedResponse>
{
public:
    void setActionResponse(Ptr<const IActionResponse> response)
    {
        m_actionResponse = std::move(response);
    }

    void setSettingsResponse(Ptr<const ISettingsResponse> response)
    {
        m_settingsResponse = std::move(response);
    }

    // IActiveSettingChangedResponse:
    const IActionResponse* actionResponse() const override
    {
        return Ptr(m_actionResponse).releasePtr();
    }

    const ISettingsResponse* settingsResponse() const override
    {
        return Ptr(m_settingsResponse).releasePtr();
    }

private:
    Ptr<const IActionResponse> m_actionResponse;
    Ptr<const ISettingsResponse> m_settingsResponse;
};

} // namespace tavo::sdk
