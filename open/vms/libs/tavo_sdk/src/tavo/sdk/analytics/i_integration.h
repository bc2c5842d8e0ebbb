#pragma once

#include <tavo/sdk/analytics/i_engine.h>
#include <tavo/sdk/i_integration.h>

namespace tavo::sdk::analytics
{

class IIntegration : public Interface<IIntegration, sdk::IIntegration>
{
public:
    static constexpr const char* kInterfaceIds[] = {
        "tavo::sdk::analytics::IIntegration", "tavo::sdk::analytics::IPlugin"};

    // the order is the ABI: append only

    // A JSON text that says what the library is.
    TAVO_RETURNS_CONST(Result<const IString*>, manifest);

    TAVO_RETURNS(Result<IEngine*>, obtainEngine);

    virtual const char* reservedText() const = 0;
};

} // namespace tavo::sdk::analytics
