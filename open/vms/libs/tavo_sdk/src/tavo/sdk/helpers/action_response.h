#pragma once

#include <string>
#include <utility>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_action_response.h>

namespace tavo::sdk
{

// Filled by one thread, then handed over.
class ActionResponse : public RefCountable<IActionResponse>
{
public:
    void setActionUrl(std::string actionUrl) { m_actionUrl = std::move(actionUrl); }
    void setMessageToUser(std::string text) { m_messageToUser = std::move(text); }
    void setUseProxy(bool useProxy) { m_useProxy = useProxy; }
    void setUseDeviceCredentials(bool value) { m_useDeviceCredentials = value; }

    // IActionResponse:
    const char* actionUrl() const override { return m_actionUrl.c_str(); }
    const char* messageToUser() const override { return m_messageToUser.c_str(); }
    bool useProxy() const override { return m_useProxy; }
    bool useDeviceCredentials() const override { return m_useDeviceCredentials; }

private:
    std::string m_actionUrl;
    std::string m_messageToUser;
    bool m_useProxy = false;
    bool m_useDeviceCredentials = false;
};

} // namespace tavo::sdk
