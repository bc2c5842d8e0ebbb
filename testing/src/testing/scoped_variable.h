#pragma once

#include <string>

#include "testing/platform.h"

namespace tavo::test_support
{

// A variable of the environment, with a test's own value for as long as this lives.
class ScopedVariable
{
public:
    ScopedVariable(std::string name, const std::string& value) :
        m_name(std::move(name)),
        m_before(variable(m_name))
    {
        setVariable(m_name, value);
    }
    ~ScopedVariable() { setVariable(m_name, m_before); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const std::string m_name;
    const std::string m_before;
};

// The value of PATH that has programs in `folder` found before all others.
inline std::string pathWith(const std::string& folder)
{
    return folder + kPathListSeparator + variable("PATH");
}

} // namespace tavo::test_support
