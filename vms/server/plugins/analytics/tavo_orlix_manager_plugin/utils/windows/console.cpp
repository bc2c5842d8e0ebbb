#include <windows.h>

#include "utils/console_calls.h"
#include "utils/windows/wide_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A console takes UTF-8 as text, and shows its bytes in a code page of its own.
std::size_t console_write_some(ConsoleStream stream, std::string_view text)
{
    const DWORD systemError = GetLastError();
    const HANDLE handle =
        GetStdHandle(stream == ConsoleStream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD mode = 0;
    DWORD count = 0; // also of a full pipe that does not wait
    if (GetConsoleMode(handle, &mode))
    {
        const std::wstring wide = wideText(text);
        WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), nullptr, nullptr);
        count = static_cast<DWORD>(text.size());
    }
    else if (!WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &count, nullptr))
    {
        count = 0;
    }
    SetLastError(systemError);
    return count;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
