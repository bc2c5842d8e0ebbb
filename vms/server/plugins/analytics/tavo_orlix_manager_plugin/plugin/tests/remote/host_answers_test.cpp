#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "remote/record_lists.h"
#include "remote/response_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

TEST(FirstBodyLine, IsCutOutOfTheResponse)
{
    const struct
    {
        const char* name;
        std::string_view response;
        std::string_view line;
    } kCases[] = {
        {"one line", "HTTP/1.1 200 OK\r\nA: b\r\n\r\n{\"a\":1}", "{\"a\":1}"},
        {"line feeds alone", "HTTP/1.1 200 OK\nA: b\n\nfirst\nsecond", "first"},
        {"carriage return stays", "HTTP/1.1 200 OK\r\n\r\nfirst\r\nsecond", "first\r"},
        {"lone carriage return at the end", "HTTP/1.1 204 No Content\r\n\r", ""},
        {"empty first line of the body", "HTTP/1.1 200 OK\r\n\r\n\r\nlate", "\r"},
        {"head without an end", "HTTP/1.1 200 OK\r\nA: b\r\n", "HTTP/1.1 200 OK\r\nA: b\r\n"},
        {"blank begins a line", "A: b\r\n \r\nc\r\n\r\nd", "d"},
        {"nothing", "", ""}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.line, firstBodyLine(c.response));
    }
}

TEST(RecordLists, TakeWhatIsAListOfDevicesAndLeaveTheRest)
{
    const std::string both =
        R"({"id":"both","parameters":{"tavoAI":{"models":[],"pipelines":[]}}})";
    const struct
    {
        const char* name;
        std::string devices;
        std::vector<std::string> with;
        std::vector<std::string> without;
    } kCases[] = {
        {"web page", "<html>", {}, {}},
        {"cut off", "[" + both, {}, {}},
        {"elements of other types", R"([1,null,"a",[],{},)" + both + "]", {"both"}, {}},
        {"parameters of another type", R"([{"id":"a","parameters":[{"tavoAI":{}}]}])", {}, {}},
        {"not activated", R"([{"id":"a","parameters":{}},{"id":"b"}])", {}, {}},
        {"empty", R"([{"id":"a","parameters":{"tavoAI":{}}}])", {}, {"a"}},
        {"pipelines only",
         R"([{"id":"a","parameters":{"tavoAI":{"pipelines":null}}}])",
         {"a"},
         {"a"}},
        {"no id",
         R"([{"parameters":{"tavoAI":{}}},{"id":7,"parameters":{"tavoAI":{"models":1}}}])",
         {},
         {}},
        {"twice", "[" + both + "," + both + "]", {"both", "both"}, {}}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.with, activatedDevices(c.devices, true));
        EXPECT_EQ(c.without, activatedDevices(c.devices, false));
    }
}

TEST(CloudUserIds, AreThoseOfUsersFromTheCloud)
{
    EXPECT_EQ(
        (std::vector<std::string>{"a", "d"}),
        cloudUserIds(R"([{"id":"a","type":"cloud"},{"id":"b","type":"local"},{"id":"c"},7,)"
                     R"({"type":"cloud"},{"id":"d","type":"cloud"}])"));
    EXPECT_TRUE(cloudUserIds(R"({"id":"a","type":"cloud"})").empty());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
