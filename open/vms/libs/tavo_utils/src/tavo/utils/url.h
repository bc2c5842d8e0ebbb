// An absolute URL. Blanks and what is not ASCII are percent-encoded where it is made; escapes that
// are there stay as they are.
// Constant after construction: any thread may read it.
#pragma once

#include <string>
#include <string_view>

namespace tavo
{

class Url
{
public:
    Url() = default;

    // Text that is no URL, or has no scheme, makes an invalid one.
    Url(std::string_view text);
    Url(const std::string& text) :
        Url(std::string_view(text))
    {}
    Url(const char* text) :
        Url(std::string_view(text))
    {}

    bool isValid() const { return !m_text.empty(); }

    // All are empty in an invalid URL.
    const std::string& toString() const { return m_text; }
    const std::string& scheme() const { return m_scheme; } // lower case
    const std::string& host() const { return m_host; }
    const std::string& path() const { return m_path; } // encoded; at least "/"

private:
    std::string m_text;
    std::string m_scheme;
    std::string m_host;
    std::string m_path;
};

} // namespace tavo
