// The top object of a library. The host gets it from `createTavoPlugin`.
#pragma once

#include <tavo/sdk/i_utility_provider.h>

namespace tavo::sdk
{

class IIntegration : public Interface<IIntegration>
{
public:
    static constexpr const char* kInterfaceIds[] = {
        "tavo::sdk::IIntegration", "tavo::sdk::IPlugin"};

    // the order is the ABI: append only

    // Called before any other operation; a later call replaces the provider.
    virtual void setUtilityProvider(IUtilityProvider* utilityProvider) = 0;
};

// The older name, which the entry point keeps.
using IPlugin = IIntegration;

} // namespace tavo::sdk
