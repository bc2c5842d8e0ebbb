#include <tavo/network/http/http_types.h>

#include <curl/curl.h>

namespace tavo::network::http
{

std::string StatusLine::toString() const
{
    std::string text = version + " " + std::to_string(statusCode);
    if (!reasonPhrase.empty())
        text += " " + reasonPhrase;
    return text;
}

std::string getHeaderValue(const HttpHeaders& headers, std::string_view name)
{
    for (const auto& [headerName, value] : headers)
    {
        // Of ASCII letters alone, whatever the locale.
        if (headerName.size() == name.size() &&
            curl_strnequal(headerName.data(), name.data(), name.size()))
            return value;
    }
    return {};
}

} // namespace tavo::network::http
