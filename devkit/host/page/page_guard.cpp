#include "page/page_guard.h"

namespace tavo::devkit
{

namespace
{

constexpr char kCookie[] = "tavo_page";
constexpr int kForbidden = 403;
constexpr int kUnauthorized = 401;
constexpr int kSeeOther = 303;

// Takes as long for a token that is wrong at its beginning as for one that is wrong at its end.
bool isSame(std::string_view left, std::string_view right)
{
    if (left.size() != right.size())
        return false;
    unsigned difference = 0;
    for (size_t i = 0; i < left.size(); ++i)
        difference |= static_cast<unsigned char>(left[i] ^ right[i]);
    return difference == 0;
}

std::string_view cookieValue(std::string_view cookies, std::string_view name)
{
    while (!cookies.empty())
    {
        const size_t end = cookies.find(';');
        std::string_view cookie = cookies.substr(0, end);
        cookie.remove_prefix(std::min(cookie.find_first_not_of(' '), cookie.size()));
        if (cookie.starts_with(name) && cookie.substr(name.size()).starts_with('='))
            return cookie.substr(name.size() + 1);
        cookies = end == std::string_view::npos ? std::string_view() : cookies.substr(end + 1);
    }
    return {};
}

void refuse(httplib::Response& response, int status, const char* text)
{
    response.status = status;
    response.set_content(text, "text/plain");
}

// A browser names the page that a change comes from; other clients name none.
bool comesFromElsewhere(const httplib::Request& request)
{
    return request.has_header("Origin") &&
        request.get_header_value("Origin") != "http://" + request.get_header_value("Host");
}

} // namespace

PageGuard::PageGuard(PageAddress address) :
    m_address(std::move(address))
{}

bool PageGuard::letsPass(const httplib::Request& request, httplib::Response& response) const
{
    if (comesFromElsewhere(request))
    {
        refuse(response, kForbidden, "This comes from another page.");
        return false;
    }
    if (m_address.token.empty())
    {
        if (isLoopback(hostOf(request.get_header_value("Host"))))
            return true;
        refuse(response, kForbidden, "This page is for this machine alone.");
        return false;
    }
    if (isKnown(request))
        return true;
    if (isSame(request.get_param_value("token"), m_address.token))
    {
        // The address with the token is not to stay in the browser's line.
        response.set_header(
            "Set-Cookie",
            std::string(kCookie) + "=" + m_address.token + "; Path=/; HttpOnly; SameSite=Strict");
        response.set_redirect(request.path, kSeeOther);
        return false;
    }
    refuse(response, kUnauthorized, "Open the page with its token: /?token=...");
    return false;
}

bool PageGuard::isKnown(const httplib::Request& request) const
{
    return isSame(cookieValue(request.get_header_value("Cookie"), kCookie), m_address.token);
}

} // namespace tavo::devkit
