#include "remote/answer_body.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using network::http::HttpClient;

constexpr std::size_t kExcerptSize = 1024;

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
    return client.failure().empty() ? std::optional(std::move(body)) : std::nullopt;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
