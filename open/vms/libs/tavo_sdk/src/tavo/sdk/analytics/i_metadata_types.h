// The types of metadata that the host has a use for at the moment. Implemented by the host. The
// library produces all it has and looks at none of it, so no operation is known here.
#pragma once

#include <tavo/sdk/interface.h>

namespace tavo::sdk::analytics
{

class IMetadataTypes : public Interface<IMetadataTypes>
{
public:
    static constexpr const char* kInterfaceIds[] = {"tavo::sdk::analytics::IMetadataTypes"};
};

} // namespace tavo::sdk::analytics
