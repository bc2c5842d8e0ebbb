#include <tavo/network/http/http_types.h>

#include <algorithm>

namespace tavo::network::http
{

namespace
{

char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isSameName(std::string_view left, std::string_view right)
{
    return std::equal(
        left.begin(), left.end(), right.begin(), right.end(),
        [](char l, char r) { return lowerCase(l) == lowerCase(r); });
}

} // namespace

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
        if (isSameName(headerName, name))
            return value;
    }
    return {};
}

} // namespace tavo::network::http
