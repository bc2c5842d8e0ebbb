#include <string>

#include <tavo/network/http/head_parser.h>

#include "fuzz_target.h"
#include "remote/response_text.h"

using namespace tavo::network::http;

namespace
{

bool isTrimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    return text.empty() ||
        (kBlanks.find(text.front()) == std::string_view::npos &&
         kBlanks.find(text.back()) == std::string_view::npos);
}

void checkResponse(const Response& response, std::size_t size)
{
    FUZZ_CHECK(response.statusLine.statusCode >= 200);
    FUZZ_CHECK(isTrimmed(response.statusLine.reasonPhrase));
    FUZZ_CHECK(response.statusLine.toString().size() <= size + 16);
    for (const auto& [name, value] : response.headers)
    {
        FUZZ_CHECK(isTrimmed(name) && isTrimmed(value));
        FUZZ_CHECK(name.find(':') == std::string::npos);
        const std::string first = getHeaderValue(response.headers, name);
        FUZZ_CHECK(first.size() <= size);
    }
    FUZZ_CHECK(
        response.headers.empty() ||
        getHeaderValue(response.headers, response.headers.front().first) ==
            response.headers.front().second);
}

} // namespace

// The heads of a server's answer, line by line as the transport hands them on, and the host's whole
// answer in one text.
void tavo::fuzz::run(std::string_view text)
{
    std::string_view rest = text;
    HeadParser parser;
    std::size_t fed = 0;
    while (!rest.empty())
    {
        const std::string_view line = rest.substr(0, rest.find('\n') + 1);
        const std::string_view whole = line.empty() ? rest : line;
        rest.remove_prefix(whole.size());
        const bool wasComplete = parser.response().has_value();
        fed += wasComplete ? 0 : whole.size();
        FUZZ_CHECK(parser.addLine(whole) == (fed <= HeadParser::kMaxHeadSize));
        FUZZ_CHECK(parser.response().has_value() || !wasComplete);
    }
    if (parser.response())
        checkResponse(*parser.response(), text.size());

    const std::string_view body = tavo::vms_server_plugins::analytics::orlix::firstBodyLine(text);
    FUZZ_CHECK(body == text || body.find('\n') == std::string_view::npos);
}
