#include "remote/answer_body.h"

#include <charconv>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using network::http::HttpClient;

constexpr std::size_t kExcerptSize = 1024;

// Whether the head names another length than the body has. Without one the end of the connection
// is the end of the body.
bool isCut(const HttpClient& client, std::size_t size)
{
    const std::string text =
        network::http::getHeaderValue(client.response()->headers, "Content-Length");
    std::size_t length = 0;
    const std::errc error = std::from_chars(text.data(), text.data() + text.size(), length).ec;
    return error == std::errc{} && length != size;
}

} // namespace

std::string_view excerptOf(std::string_view text)
{
    return text.substr(0, kExcerptSize);
}

std::string fetchBodyExcerpt(HttpClient& client, const TransferFloor& floor)
{
    std::string body;
    TransferPace pace(floor);
    while (body.size() < kExcerptSize && !client.eof())
    {
        const std::string buffer = client.fetchMessageBodyBuffer();
        body += excerptOf(buffer);
        if (!pace.keepsUp(buffer.size()))
            break;
    }
    return std::string(excerptOf(body));
}

std::optional<std::string> fetchBody(HttpClient& client, const TransferFloor& floor)
{
    if (!client.response())
        return std::nullopt;
    std::string body;
    TransferPace pace(floor);
    while (!client.eof())
    {
        const std::string buffer = client.fetchMessageBodyBuffer();
        body += buffer;
        if (body.size() > HttpClient::kMaxEntireBodySize || !pace.keepsUp(buffer.size()))
            return std::nullopt;
    }
    return isCut(client, body.size()) ? std::nullopt : std::optional(std::move(body));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
