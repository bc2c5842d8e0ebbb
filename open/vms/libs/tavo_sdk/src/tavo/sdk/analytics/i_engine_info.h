// How the host knows the engine. Implemented by the host.
#pragma once

#include <tavo/sdk/interface.h>

namespace tavo::sdk::analytics
{

class IEngineInfo : public Interface<IEngineInfo>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IEngineInfo"};

    // the order is the ABI: append only
    virtual const char* id() const = 0;
    virtual const char* name() const = 0;
};

} // namespace tavo::sdk::analytics
