#pragma once

#include <httplib.h>

#include "common/page_address.h"

namespace tavo::devkit
{

// Who may ask the page. Whoever asks must have come by an address that it is served at: a page from
// elsewhere that a name of its own leads here is turned away. Where there is a token it must be
// shown: once in the address, from then on as a cookie. Changes must come from the page itself.
class PageGuard
{
public:
    // `machineName`: what this machine is called by others.
    PageGuard(PageAddress address, std::string machineName);

    // True when the request may go on. Otherwise the response says what there is to say.
    [[nodiscard]] bool letsPass(const httplib::Request& request, httplib::Response& response) const;

private:
    [[nodiscard]] bool isServedAs(std::string_view host) const;
    [[nodiscard]] bool isKnown(const httplib::Request& request) const;

private:
    const PageAddress m_address;
    const std::string m_machineName;
};

} // namespace tavo::devkit
