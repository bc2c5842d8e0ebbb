#include "utils/paths.h"

#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::string path_join(std::initializer_list<std::string_view> parts)
{
    std::string path;
    bool first = true;
    for (const std::string_view part : parts)
    {
        if (!first && !path.ends_with(kPathSeparator))
            path += kPathSeparator;
        path += part;
        first = false;
    }
    return path;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
