#pragma once

#include <httplib.h>

#include "common/page_address.h"

namespace tavo::devkit
{

// Who may ask the page. Without a token only this machine's own browser, at a name of this machine:
// a page from elsewhere that a name of its own leads here is turned away. With a token whoever
// shows it: once in the address, from then on as a cookie. Changes must come from the page itself.
class PageGuard
{
public:
    explicit PageGuard(PageAddress address);

    // True when the request may go on. Otherwise the response says what there is to say.
    [[nodiscard]] bool letsPass(const httplib::Request& request, httplib::Response& response) const;

private:
    [[nodiscard]] bool isKnown(const httplib::Request& request) const;

private:
    const PageAddress m_address;
};

} // namespace tavo::devkit
