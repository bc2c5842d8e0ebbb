// One level of an interface: answers to the ids of `DerivedInterface`, then to those of its base.
// `DerivedInterface` lists its ids in `kInterfaceIds`, the current name first.
#pragma once

#include <tavo/sdk/i_ref_countable.h>

namespace tavo::sdk
{

template <class DerivedInterface, class BaseInterface = IRefCountable>
class Interface : public BaseInterface
{
public:
    [[nodiscard]] IRefCountable* queryInterface(const char* interfaceId) override
    {
        if (!interfaceId)
            return nullptr;
        for (const char* id : DerivedInterface::kInterfaceIds)
        {
            if (isSameText(interfaceId, id))
            {
                this->addRef();
                return this;
            }
        }
        return BaseInterface::queryInterface(interfaceId);
    }
};

} // namespace tavo::sdk
