#include "utils/console.h"

#include <cerrno>
#include <unistd.h>

#include "utils/posix/no_pipe_signal.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

void console_write(ConsoleStream stream, std::string_view text)
{
    const int descriptor = stream == ConsoleStream::output ? STDOUT_FILENO : STDERR_FILENO;
    const int error = errno;
    const NoPipeSignal noSignal;
    while (!text.empty())
    {
        const ssize_t count = write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    errno = error;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
