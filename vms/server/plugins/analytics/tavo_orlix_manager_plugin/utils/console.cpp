#include "utils/console.h"

#include <cerrno>

#include "utils/console_calls.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void console_write(ConsoleStream stream, std::string_view text)
{
    const int error = errno;
    while (!text.empty())
    {
        const std::size_t count = console_write_some(stream, text);
        if (count == 0)
            break;
        text.remove_prefix(count);
    }
    errno = error;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
