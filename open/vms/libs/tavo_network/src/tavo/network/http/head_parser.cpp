#include <tavo/network/http/head_parser.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace tavo::network::http
{

namespace
{

constexpr int kFirstFinalStatus = 200;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Cuts off and gives what stands before the first `separator`, or all.
std::string_view takeUntil(std::string_view* text, char separator)
{
    const std::string_view taken = text->substr(0, text->find(separator));
    text->remove_prefix(std::min(taken.size() + 1, text->size()));
    return taken;
}

StatusLine parseStatusLine(std::string_view line)
{
    StatusLine result;
    result.version = takeUntil(&line, ' ');
    const std::string_view code = takeUntil(&line, ' ');
    std::from_chars(code.data(), code.data() + code.size(), result.statusCode);
    result.reasonPhrase = trimmed(line);
    return result;
}

} // namespace

bool HeadParser::addLine(std::string_view line)
{
    if (m_response)
        return true; // trailers behind the body

    m_size += line.size();
    if (m_size > kMaxHeadSize)
        return false;

    const bool isContinued = line.starts_with(' ') || line.starts_with('\t');
    const bool isStatusLine = line.starts_with("HTTP/");
    line = trimmed(line);
    if (isStatusLine)
    {
        m_pending = {parseStatusLine(line), {}};
    }
    else if (line.empty())
    {
        if (m_pending.statusLine.statusCode >= kFirstFinalStatus)
            m_response = std::move(m_pending);
    }
    else if (isContinued && !m_pending.headers.empty())
    {
        std::string& value = m_pending.headers.back().second;
        value.append(value.empty() ? "" : " ").append(line);
    }
    else if (line.find(':') != std::string_view::npos)
    {
        const std::string_view name = trimmed(takeUntil(&line, ':'));
        m_pending.headers.emplace_back(name, trimmed(line));
    }
    return true;
}

} // namespace tavo::network::http
