#include "common/page_address.h"

#include <charconv>

namespace tavo::devkit
{

namespace
{

std::string_view withoutBrackets(std::string_view host)
{
    return host.size() > 2 && host.front() == '[' && host.back() == ']'
        ? host.substr(1, host.size() - 2)
        : host;
}

// The place of the colon before the port; npos without a port.
size_t portColon(std::string_view text)
{
    const size_t colon = text.rfind(':');
    const size_t bracket = text.rfind(']');
    return colon != std::string_view::npos && (bracket == std::string_view::npos || bracket < colon)
        ? colon
        : std::string_view::npos;
}

} // namespace

std::optional<PageAddress> parsePageAddress(std::string_view text)
{
    constexpr int kLastPort = 65535;
    PageAddress address;
    const size_t colon = portColon(text);
    const std::string_view port = colon == std::string_view::npos ? text : text.substr(colon + 1);
    if (colon != std::string_view::npos)
        address.host = withoutBrackets(text.substr(0, colon));
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), address.port);
    if (error != std::errc() || end != port.data() + port.size() || address.host.empty() ||
        address.port < 0 || address.port > kLastPort)
    {
        return std::nullopt;
    }
    return address;
}

bool isNumeric(std::string_view host)
{
    const bool isIpv6 = host.find(':') != std::string_view::npos;
    return !host.empty() &&
        host.find_first_not_of(isIpv6 ? "0123456789abcdefABCDEF:." : "0123456789.") ==
        std::string_view::npos;
}

bool isLoopback(std::string_view host)
{
    return host == "localhost" || host == "::1" || (host.starts_with("127.") && isNumeric(host));
}

std::string_view hostOf(std::string_view hostAndPort)
{
    return withoutBrackets(hostAndPort.substr(0, portColon(hostAndPort)));
}

} // namespace tavo::devkit
