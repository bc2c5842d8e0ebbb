#include "utils/console.h"

#include <cerrno>

#include "utils/console_calls.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void console_write(ConsoleStream stream, std::string_view text)
{
    const int error = errno;
    std::size_t count = 1;
    for (; !text.empty() && count > 0; text.remove_prefix(count))
        count = console_write_some(stream, text);
    errno = error;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
