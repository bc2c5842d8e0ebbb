#include <tavo/branding/customization_name.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <tavo/branding/customization.h>

namespace tavo::branding
{

std::string customizationName()
{
    return customization().toUtf8().toStdString();
}

} // namespace tavo::branding
