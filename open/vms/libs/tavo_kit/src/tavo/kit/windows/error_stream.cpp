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

void writeToErrorStream(std::string_view text)
{
    const DWORD formerError = GetLastError();
    const HANDLE stream = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(stream, &mode))
        writeToConsole(stream, text);
    else
        writeBytes(stream, text);
    SetLastError(formerError);
}

} // namespace tavo::kit
