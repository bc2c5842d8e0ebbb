#include <QByteArray>
#include <QString>

#include <tavo/branding/customization.h>

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

// The one place that sees the host's text type.
int hostCustomizationKind()
{
    const QByteArray name = branding::customization().toUtf8();
    return customizationKindOf({name.constData(), static_cast<std::size_t>(name.size())});
}

} // namespace tavo::vms_server_plugins::analytics::orlix
