#include <unistd.h>

#include "utils/console_calls.h"
#include "utils/posix/no_pipe_signal.h"
#include "utils/posix/uninterrupted.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::size_t console_write_some(ConsoleStream stream, std::string_view text)
{
    const int descriptor = stream == ConsoleStream::output ? STDOUT_FILENO : STDERR_FILENO;
    const NoPipeSignal noSignal;
    const ssize_t count =
        uninterrupted([&] { return write(descriptor, text.data(), text.size()); });
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
