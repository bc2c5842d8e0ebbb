// What the library asks the host's client to do after a user's action: open a page, show a text.
#pragma once

#include <tavo/sdk/interface.h>

namespace tavo::sdk
{

class IActionResponse : public Interface<IActionResponse>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IActionResponse"};

    // the order is the ABI: append only
    virtual const char* actionUrl() const = 0; // empty: no page is opened
    virtual const char* messageToUser() const = 0; // empty: no text is shown
    virtual bool useProxy() const = 0; // reach the page through the server
    virtual bool useDeviceCredentials() const = 0; // log in to the page as to the device
};

} // namespace tavo::sdk
