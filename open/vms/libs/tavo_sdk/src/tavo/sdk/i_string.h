#pragma once

#include <tavo/sdk/interface.h>

namespace tavo::sdk
{

class IString : public Interface<IString>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::IString"};

    // the order is the ABI: append only
    virtual const char* str() const = 0;
};

} // namespace tavo::sdk
