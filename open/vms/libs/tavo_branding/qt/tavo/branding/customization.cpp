#include <tavo/branding/customization.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace tavo::branding
{

QString customization()
{
    const QByteArray name = qgetenv("TAVO_CUSTOMIZATION");
    return name.isEmpty() ? QStringLiteral("tavovms") : QString::fromUtf8(name);
}

} // namespace tavo::branding
