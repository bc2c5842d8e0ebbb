#pragma once

#include <string_view>

namespace tavo::vms_server_plugins::analytics::orlix
{

enum class ConsoleStream
{
    output,
    error,
};

// Writes a text to one of the process's standard streams, past the buffers of the C library, so
// that nothing of it is left for the host to write. A stream that cannot be written to loses the
// text and does the process no harm: where a broken pipe raises a signal, this write raises none.
// Any thread may call; nothing throws.
void console_write(ConsoleStream stream, std::string_view text);

} // namespace tavo::vms_server_plugins::analytics::orlix
