#pragma once

#include <tavo/sdk/analytics/i_engine.h>
#include <tavo/sdk/analytics/i_engine_info.h>
#include <tavo/sdk/helpers/ref_countable.h>

#include "common/console.h"
#include "metadata/metadata_sink.h"

// What the engine gets from its host.

namespace tavo::devkit
{

class EngineInfo : public sdk::RefCountable<sdk::analytics::IEngineInfo>
{
public:
    // IEngineInfo:
    const char* id() const override { return "b7e151b2-66f0-4b3c-8c0a-52d1c7a9e4f3"; }
    const char* name() const override { return "Tavo Orlix Manager"; }
};

// Shows the engine's diagnostic events.
class EngineHandler : public sdk::RefCountable<sdk::analytics::IEngine::IHandler>
{
public:
    // Both are not owned and outlive the last reference to this object.
    EngineHandler(MetadataSink& sink, Console& console) :
        m_sink(sink),
        m_console(console)
    {}

    // IEngine::IHandler:
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent* event) override
    {
        m_sink.writeDiagnostic(
            nullptr, int(event->level()), event->caption(), event->description());
        m_console.line(
            std::string("engine diagnostic: ") + event->caption() + ": " + event->description());
    }

private:
    MetadataSink& m_sink;
    Console& m_console;
};

} // namespace tavo::devkit
