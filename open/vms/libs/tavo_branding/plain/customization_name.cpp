#include <tavo/branding/customization_name.h>

#include <cstdlib>

namespace tavo::branding
{

std::string customizationName()
{
    const char* const name = std::getenv("TAVO_CUSTOMIZATION");
    return name && *name ? name : "tavovms";
}

} // namespace tavo::branding
