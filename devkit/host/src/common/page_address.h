#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tavo::devkit
{

// Where the page is served, and to whom.
struct PageAddress
{
    std::string host = "127.0.0.1";
    int port = 0; // 0: any free one
    std::string token; // what a viewer must know; empty: nothing, on the loopback interface alone
};

// "[HOST:]PORT"; a host of IPv6 stands in brackets. Nothing for any other text.
[[nodiscard]] std::optional<PageAddress> parsePageAddress(std::string_view text);

// Whether it is the number of an address, of IPv4 or IPv6, which no name server has a say in.
[[nodiscard]] bool isNumeric(std::string_view host);

// Whether only this machine can reach the host.
[[nodiscard]] bool isLoopback(std::string_view host);

// The host without its port, of a Host header or an address.
[[nodiscard]] std::string_view hostOf(std::string_view hostAndPort);

} // namespace tavo::devkit
