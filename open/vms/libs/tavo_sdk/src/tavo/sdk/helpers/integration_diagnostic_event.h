#pragma once

#include <string>
#include <utility>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/i_integration_diagnostic_event.h>

namespace tavo::sdk
{

// Constant after construction.
class IntegrationDiagnosticEvent : public RefCountable<IIntegrationDiagnosticEvent>
{
public:
    IntegrationDiagnosticEvent(Level level, std::string caption, std::string description) :
        m_level(level),
        m_caption(std::move(caption)),
        m_description(std::move(description))
    {}

    // IIntegrationDiagnosticEvent:
    Level level() const override { return m_level; }
    const char* caption() const override { return m_caption.c_str(); }
    const char* description() const override { return m_description.c_str(); }

private:
    const Level m_level;
    const std::string m_caption;
    const std::string m_description;
};

} // namespace tavo::sdk
