#include <tavo/utils/url.h>

#include <memory>

#include <curl/curl.h>

namespace tavo
{

namespace
{

// Empty if the URL has no such part.
std::string part(CURLU* url, CURLUPart what)
{
    char* raw = nullptr;
    static_cast<void>(curl_url_get(url, what, &raw, 0)); // null stays null
    const std::unique_ptr<char, decltype(&curl_free)> text(raw, &curl_free);
    return text ? text.get() : "";
}

// Left to the parser, blanks of a query would become plus signs.
std::string withBlanksEncoded(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (const char c : text)
        c == ' ' ? result.append("%20") : result.append(1, c);
    return result;
}

} // namespace

Url::Url(std::string_view text)
{
    if (text.find('\0') != std::string_view::npos)
        return;

    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), &curl_url_cleanup);
    const std::string encoded = withBlanksEncoded(text);
    constexpr unsigned int kFlags = CURLU_URLENCODE | CURLU_NON_SUPPORT_SCHEME;
    if (curl_url_set(url.get(), CURLUPART_URL, encoded.c_str(), kFlags) != CURLUE_OK)
        return;

    m_scheme = part(url.get(), CURLUPART_SCHEME);
    m_host = part(url.get(), CURLUPART_HOST);
    m_path = part(url.get(), CURLUPART_PATH);
    m_text = part(url.get(), CURLUPART_URL);
}

} // namespace tavo
