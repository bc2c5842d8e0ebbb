#include "diagnosis/redaction.h"

#include <algorithm>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Keys, as a file or an address has them, in small letters. Those of secrets may be part of a
// longer word, those of names are whole words.
constexpr std::string_view kSecrets[] = {"token", "authorization", "secret", "signature", "passw",
                                         "pwd",   "key",           "sig",    "bearer",    "basic"};
constexpr std::string_view kNames[] = {"name",     "device name", "devicename",
                                       "username", "fullname",    "displayname",
                                       "login",    "user",        "email"};
constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/-_";
constexpr std::size_t kLongestKey = 64; // of JSON, or of a line
constexpr std::size_t kShortestKey = 40; // characters of base64: 30 bytes

constexpr const char* kKinds[] = {"", "token", "key", "name", "password", "address"};
enum Kind : char
{
    kKept,
    kToken,
    kKey,
    kName,
    kPassword,
    kAddress,
};

bool isWord(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// What of one text is to be taken out.
class Search
{
public:
    explicit Search(std::string_view text) :
        m_text(text),
        m_lower(text),
        m_kinds(text.size(), kKept)
    {
        std::ranges::transform(
            m_lower, m_lower.begin(),
            [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        for (const std::string_view word : kSecrets)
            findValues(word, word == "key" || word == "sig" ? kKey : kToken, false);
        for (const std::string_view word : kNames)
            findValues(word, kName, true);
        findAddresses();
        findKeys();
    }

    // Of each character.
    [[nodiscard]] const std::string& kinds() const { return m_kinds; }

private:
    void add(std::size_t begin, std::size_t end, Kind kind)
    {
        std::replace(
            m_kinds.begin() + begin,
            m_kinds.begin() + std::max(begin, std::min(end, m_text.size())), char{kKept},
            char{kind});
    }

    // What stands behind a key: in quotes, which may be escaped, or up to a separator.
    void findValues(std::string_view word, Kind kind, bool isWhole)
    {
        for (std::size_t at = 0; (at = m_lower.find(word, at)) != std::string::npos;)
        {
            const bool isWithin = at > 0 && isWord(m_text[at - 1]);
            at += word.size();
            if (isWhole && isWithin)
                continue;
            std::size_t end = at; // of the whole key
            for (; !isWhole && end < m_text.size() && end - at < kLongestKey; ++end)
            {
                if (!isWord(m_text[end]) && m_text[end] != '-' && m_text[end] != '_')
                    break;
            }
            const std::size_t sign = m_text.find_first_not_of("\\\" \t", end);
            const bool isScheme = word == "bearer" || word == "basic" || word == "device name";
            if (sign != std::string::npos && (m_text[sign] == ':' || m_text[sign] == '='))
                end = sign + 1;
            else if (!isScheme)
                continue;
            const std::size_t value = m_text.find_first_not_of(" \t\\", end);
            if (value == std::string::npos || m_text[value] == '{' || m_text[value] == '[')
                continue;
            at = endOfValue(value);
            add(value + (m_text[value] == '"' ? 1 : 0), at, kind);
        }
    }

    [[nodiscard]] std::size_t endOfValue(std::size_t value) const
    {
        if (m_text[value] != '"')
            return std::min(m_text.find_first_of("\r\n\t \",;&}", value), m_text.size());
        const bool isEscaped = value > 0 && m_text[value - 1] == '\\';
        std::size_t end = value + 1;
        for (; end < m_text.size() && m_text[end] != '"' && m_text[end] != '\n'; ++end)
        {
            if (m_text[end] == '\\' && isEscaped && end + 1 < m_text.size() &&
                m_text[end + 1] == '"')
                return end;
            if (m_text[end] == '\\')
                ++end;
        }
        return end;
    }

    // Of servers, the user and password; of people, all.
    void findAddresses()
    {
        constexpr char kEnds[] = "\r\n\t \",;&<>(){}=";
        std::size_t end = 0;
        for (std::size_t at = 0; (at = m_text.find_first_not_of(kEnds, end)) != std::string::npos;)
        {
            end = std::min(m_text.find_first_of(kEnds, at), m_text.size());
            const std::string_view word = m_text.substr(at, end - at);
            const std::size_t sign = word.rfind('@');
            const std::size_t scheme = word.find("://");
            if (sign == std::string_view::npos)
                continue;
            if (scheme < sign)
                add(at + scheme + 3, at + sign, kPassword);
            else
                add(at, end, kAddress);
        }
    }

    void findKeys()
    {
        for (std::size_t at = 0; (at = m_text.find("-----BEGIN", at)) != std::string::npos;)
        {
            const std::size_t end = m_text.find("-----END", at);
            add(at, end, kKey);
            at = std::min(end, m_text.size());
        }
        for (std::size_t at = 0; (at = m_text.find_first_of(kBase64, at)) != std::string::npos;)
        {
            const std::size_t end = std::min(m_text.find_first_not_of(kBase64, at), m_text.size());
            const std::string_view run = m_text.substr(at, end - at);
            // Hexadecimal digests and folders of a path are none.
            const bool isKey = run.size() >= kShortestKey &&
                std::ranges::any_of(run, [](char c) { return c >= 'A' && c <= 'Z'; }) &&
                std::ranges::any_of(run, [](char c) { return c >= '0' && c <= '9'; }) &&
                std::ranges::count(run, '/') < 5;
            if (isKey)
                add(at, end, kKey);
            at = end;
        }
    }

    const std::string_view m_text;
    std::string m_lower;
    std::string m_kinds;
};

} // namespace

std::string Redaction::apply(std::string_view text)
{
    const std::string kinds = Search(text).kinds();
    std::string result;
    for (std::size_t at = 0, end = 0; at < text.size(); at = end)
    {
        end = std::min(kinds.find_first_not_of(kinds[at], at), text.size());
        const char* const kind = kKinds[static_cast<unsigned char>(kinds[at])];
        if (*kind)
            ++m_counts[kind];
        result += *kind ? std::string("<") + kind + ">" : std::string(text.substr(at, end - at));
    }
    return result;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
