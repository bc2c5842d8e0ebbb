#include <gtest/gtest.h>

#include "page/page_guard.h"

namespace tavo::devkit
{

TEST(PageAddress, readsAddressAndPort)
{
    const struct
    {
        const char* text;
        const char* host; // null: refused
        int port;
    } kCases[] = {
        {"8080", "127.0.0.1", 8080}, {"0", "127.0.0.1", 0}, {"0.0.0.0:8080", "0.0.0.0", 8080},
        {"[::1]:80", "::1", 80},     {"", nullptr, 0},      {":80", nullptr, 0},
        {"localhost:", nullptr, 0},  {"70000", nullptr, 0}, {"-1", nullptr, 0},
        {"80x", nullptr, 0},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.text);
        const auto address = parsePageAddress(c.text);
        ASSERT_EQ(address.has_value(), c.host != nullptr);
        if (!address)
            continue;
        EXPECT_EQ(address->host, c.host);
        EXPECT_EQ(address->port, c.port);
    }
}

TEST(PageGuard, letsOnlyThoseInWhoMayCome)
{
    const struct
    {
        const char* name;
        const char* token;
        httplib::Headers headers;
        const char* parameter;
        int status; // 0: passes
    } kCases[] = {
        {"this machine", "", {{"Host", "127.0.0.1:80"}}, "", 0},
        {"this machine by name", "", {{"Host", "localhost"}}, "", 0},
        {"this machine, IPv6", "", {{"Host", "[::1]:80"}}, "", 0},
        {"another name that leads here", "", {{"Host", "elsewhere.example:80"}}, "", 403},
        {"no name", "", {}, "", 403},
        {"a change of its own",
         "",
         {{"Host", "localhost:8"}, {"Origin", "http://localhost:8"}},
         "",
         0},
        {"a change of another page",
         "",
         {{"Host", "localhost:8"}, {"Origin", "http://a.example"}},
         "",
         403},
        {"a token", "secret", {{"Host", "a.example"}}, "secret", 303},
        {"a wrong token", "secret", {{"Host", "localhost"}}, "secreT", 401},
        {"a token's beginning", "secret", {{"Host", "localhost"}}, "sec", 401},
        {"no token", "secret", {{"Host", "localhost"}}, "", 401},
        {"a cookie", "secret", {{"Host", "a.example"}, {"Cookie", "a=b; tavo_page=secret"}}, "", 0},
        {"a wrong cookie", "secret", {{"Host", "a.example"}, {"Cookie", "tavo_page=x"}}, "", 401},
        {"another's cookie",
         "secret",
         {{"Host", "a.example"}, {"Cookie", "tavo_pages=secret"}},
         "",
         401},
        {"a cookie and another page",
         "secret",
         {{"Host", "a.example"}, {"Cookie", "tavo_page=secret"}, {"Origin", "http://b.example"}},
         "",
         403},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        PageAddress address;
        address.token = c.token;
        httplib::Request request;
        request.path = "/";
        request.headers = c.headers;
        request.params.emplace("token", c.parameter);
        httplib::Response response;
        response.status = 0;
        EXPECT_EQ(PageGuard(address).letsPass(request, response), c.status == 0);
        EXPECT_EQ(response.status, c.status);
    }
}

} // namespace tavo::devkit
