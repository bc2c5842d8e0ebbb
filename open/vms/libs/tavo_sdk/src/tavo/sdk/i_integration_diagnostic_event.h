// A message to the people who run the server.
#pragma once

#include <stdint.h>

#include <tavo/sdk/interface.h>

namespace tavo::sdk
{

class IIntegrationDiagnosticEvent : public Interface<IIntegrationDiagnosticEvent>
{
public:
    static constexpr const char* kInterfaceIds[] = {
        "tavo::sdk::IIntegrationDiagnosticEvent", "tavo::sdk::IPluginDiagnosticEvent"};

    enum class Level : int32_t
    {
        info = 0,
        warning = 1,
        error = 2,
    };

    // the order is the ABI: append only
    virtual Level level() const = 0;
    virtual const char* caption() const = 0;
    virtual const char* description() const = 0;
};

} // namespace tavo::sdk
