#include "utils/console.h"

#include <cerrno>
#include <windows.h>

#include "utils/windows/wide_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

void writeBytes(HANDLE stream, std::string_view text)
{
    while (!text.empty())
    {
        DWORD written = 0;
        if (!WriteFile(stream, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
            written == 0) // a full pipe that does not wait
        {
            break;
        }
        text.remove_prefix(written);
    }
}

} // namespace

// A console takes UTF-8 as text, and shows its bytes in a code page of its own.
void console_write(ConsoleStream stream, std::string_view text)
{
    const int error = errno;
    const DWORD systemError = GetLastError();
    const HANDLE handle =
        GetStdHandle(stream == ConsoleStream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode))
    {
        const std::wstring wide = wideText(text);
        WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), nullptr, nullptr);
    }
    else
    {
        writeBytes(handle, text);
    }
    SetLastError(systemError);
    errno = error;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
