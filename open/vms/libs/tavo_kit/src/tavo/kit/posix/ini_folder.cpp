#include <tavo/kit/ini_folder.h>

#include <cstdlib>

namespace tavo::kit
{

namespace
{

std::filesystem::path folderFromEnvironment(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

} // namespace

std::filesystem::path iniFolder()
{
    if (auto folder = folderFromEnvironment("TAVO_INI_DIR"); !folder.empty())
        return folder;
    if (const auto folder = folderFromEnvironment("XDG_CONFIG_HOME"); !folder.empty())
        return folder / "tavo_ini";
    if (const auto home = folderFromEnvironment("HOME"); !home.empty())
        return home / ".config" / "tavo_ini";
    return {};
}

} // namespace tavo::kit
