// The head of an HTTP response.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavo::network::http
{

struct StatusLine
{
    std::string version; // "HTTP/1.1"
    int statusCode = 0;
    std::string reasonPhrase; // may be empty

    std::string toString() const; // "HTTP/1.1 404 Not Found"
};

// Names as sent, values without surrounding blanks, in the order of their coming.
using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

// The value of the first header of that name, whatever its case, or the empty text.
std::string getHeaderValue(const HttpHeaders& headers, std::string_view name);

struct Response
{
    StatusLine statusLine;
    HttpHeaders headers;
};

} // namespace tavo::network::http
