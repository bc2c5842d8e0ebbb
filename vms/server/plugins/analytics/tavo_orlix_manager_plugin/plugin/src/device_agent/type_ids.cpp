#include "device_agent/type_ids.h"

#include "remote/text_helpers.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::string normaliseTypeIdPart(const std::string& text)
{
    return makeIdentifier(text);
}

std::string objectTypeId(const std::string& className)
{
    return kTypeIdPrefix + normaliseTypeIdPart(className);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
