#include "page/page_guard.h"

#include <gtest/gtest.h>

namespace tavo::devkit
{

TEST(PageAddress, onlyNumbersOfThisMachineAreLoopback)
{
    for (const char* const host : {"127.0.0.1", "127.3.2.1", "::1", "localhost"})
        EXPECT_TRUE(isLoopback(host)) << host;
    for (const char* const host : {"127.evil.example", "127.0.0.1.evil.example", "128.0.0.1", ""})
        EXPECT_FALSE(isLoopback(host)) << host;
}

TEST(PageGuard, letsOnlyThoseInWhoMayCome)
{
    const char* const kHere = "127.0.0.1";
    const struct
    {
        const char* served; // the address that the page is served at
        const char* host; // the header
        int status; // 0: passes
        httplib::Headers headers; // beside the host
        const char* token = "";
        const char* parameter = "";
    } kCases[] = {
        {kHere, "127.0.0.1:80", 0, {}},
        {kHere, kHere, 0, {}},
        {kHere, "localhost:9000", 0, {}}, // through a tunnel
        {kHere, "127.0.0.1.evil.example:80", 421, {}},
        {kHere, "localhost.evil.example", 421, {}},
        {kHere, "127.0.0.2", 421, {}},
        {kHere, "[::1]:80", 421, {}},
        {kHere, kHere, 421, {{"Host", "localhost"}}},
        {"::1", "[::1]:80", 0, {}},
        {"localhost", "[::1]:80", 0, {}},
        {"localhost", kHere, 0, {}},
        {"10.0.0.9", "10.0.0.9:80", 0, {}},
        {"10.0.0.9", kHere, 421, {}},
        {"0.0.0.0", "10.0.0.9", 0, {}},
        {"0.0.0.0", "server:80", 0, {}},
        {"0.0.0.0", "server.evil.example:80", 421, {}},
        {"::", "[fe80::1]:80", 0, {}},
        {kHere, "127.0.0.1:80", 0, {{"Origin", "http://127.0.0.1:80"}}},
        {kHere, "127.0.0.1:80", 403, {{"Origin", "http://a.example"}}},
        {kHere, kHere, 303, {}, "secret", "secret"},
        {kHere, kHere, 401, {}, "secret", "secreT"},
        {kHere, kHere, 401, {}, "secret", "sec"},
        {kHere, kHere, 401, {}, "secret"},
        {kHere, kHere, 0, {{"Cookie", "a=b; tavo_page=secret"}}, "secret"},
        {kHere, kHere, 401, {{"Cookie", "tavo_page=x"}}, "secret"},
        {kHere, kHere, 401, {{"Cookie", "tavo_pages=secret"}}, "secret"},
        {kHere, kHere, 403, {{"Cookie", "tavo_page=secret"}, {"Origin", "http://b.a"}}, "secret"},
    };
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(testing::Message() << c.served << " as " << c.host << ": " << c.parameter);
        httplib::Request request;
        request.path = "/";
        request.headers = c.headers;
        request.headers.emplace("Host", c.host);
        request.params.emplace("token", c.parameter);
        httplib::Response response;
        response.status = 0;
        EXPECT_EQ(
            PageGuard({c.served, 80, c.token}, "server").letsPass(request, response),
            c.status == 0);
        EXPECT_EQ(response.status, c.status);
    }
}

} // namespace tavo::devkit
