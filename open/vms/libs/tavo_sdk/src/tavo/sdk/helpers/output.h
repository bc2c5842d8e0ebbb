// What the base classes write to the debug stream, line by line under a prefix. Lines that only
// tell what goes on are written if printing is on; those about faults always.
// Callers on a hot path ask isPrinting() before they build a text. Any thread.
#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace tavo::sdk
{

class Output
{
public:
    Output(bool isPrinting, std::string prefix) :
        m_isPrinting(isPrinting),
        m_prefix(std::move(prefix))
    {}

    bool isPrinting() const { return m_isPrinting; }
    void setPrefix(std::string prefix);

    void print(std::string_view text) const
    {
        if (m_isPrinting)
            printAlways(text);
    }
    void printAlways(std::string_view text) const;

private:
    const bool m_isPrinting;
    mutable std::mutex m_mutex; // leaf, over the prefix
    std::string m_prefix;
};

// "[", then `givenPrefix` or, without one, the library's name, then `tag` ("_engine", "_device"),
// then "_" and `name` where there is one, then "] ".
std::string makePrintPrefix(
    const std::string& givenPrefix, const std::string& tag, const char* name);

} // namespace tavo::sdk
