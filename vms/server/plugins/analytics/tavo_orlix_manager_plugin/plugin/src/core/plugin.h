#pragma once

#include <string>

#include <tavo/sdk/analytics/helpers/integration.h>
#include <tavo/sdk/export.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// What the host receives from the library's entry point: it says what the library is and makes the
// engine. Until then there is no thread, no log file and no socket, and nothing was written to
// disk. It outlives its engines.
class Plugin : public sdk::analytics::Integration
{
protected:
    // sdk::analytics::Integration:

    // Makes the working directory, and a new engine in it.
    sdk::Result<sdk::analytics::IEngine*> doObtainEngine() override;
    std::string manifestString() const override;
};

} // namespace tavo::vms_server_plugins::analytics::orlix

// The entry point of the library. The reference belongs to the caller; null on failure.
extern "C" TAVO_EXPORT tavo::sdk::IPlugin* createTavoPlugin();
