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

TEST(PageAddress, onlyNumbersOfThisMachineAreLoopback)
{
    for (const char* const host : {"127.0.0.1", "127.3.2.1", "::1", "localhost"})
        EXPECT_TRUE(isLoopback(host)) << host;
    for (const char* const host : {"127.evil.example", "127.0.0.1.evil.example", "128.0.0.1", ""})
        EXPECT_FALSE(isLoopback(host)) << host;
}

TEST(PageGuard, letsThoseInWhoComeByAnAddressOfThePage)
{
    const struct
    {
        const char* served; // the address that the page is served at
        const char* host; // the header
        bool passes;
    } kCases[] = {
        {"127.0.0.1", "127.0.0.1:80", true},
        {"127.0.0.1", "127.0.0.1", true},
        {"127.0.0.1", "localhost:9000", true}, // through a tunnel
        {"127.0.0.1", "127.evil.example", false},
        {"127.0.0.1", "127.0.0.1.evil.example:80", false},
        {"127.0.0.1", "localhost.evil.example", false},
        {"127.0.0.1", "evil.example:80", false},
        {"127.0.0.1", "127.0.0.2", false},
        {"127.0.0.1", "[::1]:80", false},
        {"::1", "[::1]:80", true},
        {"localhost", "[::1]:80", true},
        {"localhost", "127.0.0.1", true},
        {"10.0.0.9", "10.0.0.9:80", true},
        {"10.0.0.9", "127.0.0.1", false},
        {"0.0.0.0", "10.0.0.9", true},
        {"0.0.0.0", "server:80", true},
        {"0.0.0.0", "server.evil.example:80", false},
        {"::", "[fe80::1]:80", true},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(std::string(c.served) + " as " + c.host);
        httplib::Request request;
        request.headers = {{"Host", c.host}};
        httplib::Response response;
        response.status = 0;
        EXPECT_EQ(PageGuard({c.served, 80, ""}, "server").letsPass(request, response), c.passes);
        EXPECT_EQ(response.status, c.passes ? 0 : 421);
    }
}

TEST(PageGuard, letsOnlyThoseInWhoMayCome)
{
    const struct
    {
        const char* name;
        const char* token;
        httplib::Headers headers; // beside the host
        const char* parameter;
        int status; // 0: passes
    } kCases[] = {
        {"anybody here", "", {}, "", 0},
        {"a second name", "", {{"Host", "localhost"}}, "", 421},
        {"a change of its own", "", {{"Origin", "http://127.0.0.1:80"}}, "", 0},
        {"a change of another page", "", {{"Origin", "http://a.example"}}, "", 403},
        {"a token", "secret", {}, "secret", 303},
        {"a wrong token", "secret", {}, "secreT", 401},
        {"a token's beginning", "secret", {}, "sec", 401},
        {"no token", "secret", {}, "", 401},
        {"a cookie", "secret", {{"Cookie", "a=b; tavo_page=secret"}}, "", 0},
        {"a wrong cookie", "secret", {{"Cookie", "tavo_page=x"}}, "", 401},
        {"another's cookie", "secret", {{"Cookie", "tavo_pages=secret"}}, "", 401},
        {"a cookie and another page",
         "secret",
         {{"Cookie", "tavo_page=secret"}, {"Origin", "http://b.example"}},
         "",
         403},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        httplib::Request request;
        request.path = "/";
        request.headers = c.headers;
        request.headers.emplace("Host", "127.0.0.1:80");
        request.params.emplace("token", c.parameter);
        httplib::Response response;
        response.status = 0;
        EXPECT_EQ(
            PageGuard({"127.0.0.1", 80, c.token}, "server").letsPass(request, response),
            c.status == 0);
        EXPECT_EQ(response.status, c.status);
    }
}

} // namespace tavo::devkit
