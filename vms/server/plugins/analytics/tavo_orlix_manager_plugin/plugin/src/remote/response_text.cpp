#include "remote/response_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Cuts the first line, with its line feed, off the front of `text`.
std::string_view takeLine(std::string_view& text)
{
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

} // namespace

std::string_view firstBodyLine(std::string_view response)
{
    std::string_view rest = response;
    while (!rest.empty())
    {
        const std::string_view line = takeLine(rest);
        if (line.empty() || line == "\r")
            return takeLine(rest);
    }
    return response;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
