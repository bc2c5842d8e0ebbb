#pragma once

class QString;

namespace tavo::branding
{

// The name of the host's brand: $TAVO_CUSTOMIZATION, by default "tavovms".
QString customization();

} // namespace tavo::branding
