#include <tavo/branding/customization_name.h>

#include "remote/text_helpers.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

int customizationKindOf(std::string_view customization)
{
    if (customization == "tavovms")
        return 0;
    if (customization == "default")
        return 1;
    return 2;
}

int hostCustomizationKind()
{
    return customizationKindOf(branding::customizationName());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
