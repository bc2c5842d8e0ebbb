#include "utils/system_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace tavo::vms_server_plugins::analytics::orlix
{

int last_system_error()
{
    return errno;
}

int last_socket_error()
{
    return errno;
}

std::size_t system_error_text(int code, char* buffer, std::size_t size)
{
    char own[256];
    const char* const text = strerror_r(code, own, sizeof own); // the form that gives a pointer
    const std::size_t length = strnlen(text, size);
    std::copy_n(text, length, buffer);
    return length;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
