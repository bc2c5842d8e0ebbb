#include "utils/system_error.h"

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

// With the line end that the system puts behind its texts.
std::size_t system_error_text(int code, char* buffer, std::size_t size)
{
    constexpr DWORD kProcessLanguage = 0x400;
    return FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
        static_cast<DWORD>(code), kProcessLanguage, buffer, static_cast<DWORD>(size), nullptr);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
