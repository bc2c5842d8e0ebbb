#include "utils/paths.h"

#include "utils/platform_names.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::filesystem::path pathFromUtf8(std::string_view path)
{
    return std::filesystem::path(std::u8string(path.begin(), path.end()));
}

std::string utf8FromPath(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::string pathOfTemporary(std::string_view fileName)
{
    return utf8FromPath(std::filesystem::temp_directory_path() / pathFromUtf8(fileName));
}

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
