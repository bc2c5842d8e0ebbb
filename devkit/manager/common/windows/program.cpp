#include "common/program.h"

#include <string>

#include <windows.h>

namespace tavo::devkit
{

std::filesystem::path program_path()
{
    constexpr DWORD kLongestPath = 32'768;
    std::wstring path(kLongestPath, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), kLongestPath));
    return path;
}

void ignore_broken_pipes() {} // writing to one only ever fails here

} // namespace tavo::devkit
