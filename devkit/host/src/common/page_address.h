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

// Whether only this machine can reach the host's name.
[[nodiscard]] bool isLoopback(std::string_view host);

// The host without its port, of a Host header or an address.
[[nodiscard]] std::string_view hostOf(std::string_view hostAndPort);

} // namespace tavo::devkit
