#pragma once

#include <mutex>
#include <string_view>

namespace tavo::devkit
{

// Lines for the person in front of the screen. Any thread; a line is written whole and at once.
class Console
{
public:
    // To standard error where standard output carries metadata.
    explicit Console(bool toStandardError) :
        m_toStandardError(toStandardError)
    {}

    void line(std::string_view text);

private:
    const bool m_toStandardError;
    std::mutex m_mutex;
};

} // namespace tavo::devkit
