#include "utils/system_error.h"

#include <algorithm>
#include <iterator>
#include <winsock2.h>

#include <windows.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

int last_system_error()
{
    return static_cast<int>(GetLastError());
}

int last_socket_error()
{
    return WSAGetLastError();
}

// With the line end that the system puts behind its texts. In UTF-8, whatever the system's own code
// page is; a text that does not fit is cut where that is sure to leave whole characters.
std::size_t system_error_text(int code, char* buffer, std::size_t size)
{
    constexpr DWORD kProcessLanguage = 0x400;
    constexpr int kMostBytes = 3; // of one unit
    wchar_t text[1024];
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
        static_cast<DWORD>(code), kProcessLanguage, text, std::size(text), nullptr);
    const int room = static_cast<int>(size);
    const auto convert = [&](int units)
    { return WideCharToMultiByte(CP_UTF8, 0, text, units, buffer, room, nullptr, nullptr); };
    const int whole = length == 0 ? 0 : convert(static_cast<int>(length));
    if (length == 0 || whole > 0)
        return static_cast<std::size_t>(whole);
    const int units = std::min(static_cast<int>(length), room / kMostBytes);
    return units == 0 ? 0 : static_cast<std::size_t>(convert(units));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
