#pragma once

#include <string>
#include <utility>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_string.h>

namespace tavo::sdk
{

// A text; constant after construction.
class String : public RefCountable<IString>
{
public:
    explicit String(std::string text) :
        m_text(std::move(text))
    {}

    // IString:
    const char* str() const override { return m_text.c_str(); }

private:
    const std::string m_text;
};

} // namespace tavo::sdk
