#include "page/page_guard.h"

namespace tavo::devkit
{

namespace
{

constexpr char kCookie[] = "tavo_page";
constexpr int kForbidden = 403;
constexpr int kMisdirected = 421;
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

PageGuard::PageGuard(PageAddress address, std::string machineName) :
    m_address(std::move(address)),
    m_machineName(std::move(machineName))
{}

bool PageGuard::letsPass(const httplib::Request& request, httplib::Response& response) const
{
    const std::string host = request.get_header_value("Host");
    if (request.get_header_value_count("Host") != 1 || !isServedAs(hostOf(host)))
    {
        refuse(response, kMisdirected, "This page is not served under that name.");
        return false;
    }
    if (comesFromElsewhere(request))
    {
        refuse(response, kForbidden, "This comes from another page.");
        return false;
    }
    if (m_address.token.empty() || isKnown(request))
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

// The port may be another one, that of a tunnel.
bool PageGuard::isServedAs(std::string_view host) const
{
    if (host == m_address.host)
        return true;
    if (isLoopback(m_address.host)) // a browser here may try both kinds of address for the name
        return host == "localhost" || (m_address.host == "localhost" && isLoopback(host));
    const bool isEverywhere = m_address.host == "0.0.0.0" || m_address.host == "::";
    return isEverywhere && (host == "localhost" || host == m_machineName || isNumeric(host));
}

bool PageGuard::isKnown(const httplib::Request& request) const
{
    return isSame(cookieValue(request.get_header_value("Cookie"), kCookie), m_address.token);
}

} // namespace tavo::devkit
