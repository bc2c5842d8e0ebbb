#include "utils/windows/wide_text.h"

#include <windows.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

std::wstring wideText(std::string_view text)
{
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0'); // never longer
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size);
    wide.resize(static_cast<std::size_t>(length));
    return wide;
}

std::string narrowText(std::wstring_view text)
{
    constexpr std::size_t kMostBytes = 3; // of one unit
    const int size = static_cast<int>(text.size());
    std::string narrow(text.size() * kMostBytes, '\0');
    const int length = WideCharToMultiByte(
        CP_UTF8, 0, text.data(), size, narrow.data(), static_cast<int>(narrow.size()), nullptr,
        nullptr);
    narrow.resize(static_cast<std::size_t>(length));
    return narrow;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
