#pragma once

#include <string>

namespace tavo::branding
{

// The name of the host's brand, in UTF-8; of $TAVO_CUSTOMIZATION on Windows in the system's code
// page, which is the same for every name that means anything. Which library is linked decides where
// it comes from. Over the host's customization() (tavo_branding) Qt Core comes along: linked in,
// five minutes of a build and some megabytes for one text; shared, a library that not every server
// has in this version. Without (tavo_branding_plain) it is $TAVO_CUSTOMIZATION, by default
// "tavovms".
std::string customizationName();

} // namespace tavo::branding
