#include <tavo/kit/ini_folder.h>

#include <cstdlib>

namespace tavo::kit
{

namespace
{

std::filesystem::path folderFromEnvironment(const wchar_t* name)
{
    const wchar_t* const value = _wgetenv(name);
    return value ? value : L"";
}

} // namespace

std::filesystem::path iniFolder()
{
    if (auto folder = folderFromEnvironment(L"TAVO_INI_DIR"); !folder.empty())
        return folder;
    if (const auto folder = folderFromEnvironment(L"LOCALAPPDATA"); !folder.empty())
        return folder / L"tavo_ini";
    return {};
}

} // namespace tavo::kit
