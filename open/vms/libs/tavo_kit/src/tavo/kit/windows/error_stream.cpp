#include <tavo/kit/error_stream.h>

#include <string>

#include <windows.h>

namespace tavo::kit
{

namespace
{

// A console takes UTF-8 as text, and shows its bytes in a code page of its own.
void writeToConsole(HANDLE console, std::string_view text)
{
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0'); // never longer
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size);
    WriteConsoleW(console, wide.data(), static_cast<DWORD>(length), nullptr, nullptr);
}

} // namespace

size_t writeSomeToErrorStream(std::string_view text)
{
    const DWORD formerError = GetLastError();
    const HANDLE stream = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    DWORD written = 0; // also of a full pipe that does not wait
    if (GetConsoleMode(stream, &mode))
    {
        writeToConsole(stream, text);
        written = static_cast<DWORD>(text.size());
    }
    else if (!WriteFile(stream, text.data(), static_cast<DWORD>(text.size()), &written, nullptr))
    {
        written = 0;
    }
    SetLastError(formerError);
    return written;
}

} // namespace tavo::kit
