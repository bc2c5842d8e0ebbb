#include "program_calls.h"

#include <csignal>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace tavo::test_support
{

std::filesystem::path ownPath(const char*)
{
    wchar_t path[32768];
    const DWORD length = GetModuleFileNameW(nullptr, path, sizeof path / sizeof *path);
    return std::wstring(path, length);
}

unsigned long ownProcessId()
{
    return GetCurrentProcessId();
}

void startAgain(
    const std::filesystem::path& path, const std::vector<std::string>& arguments, bool apart)
{
    std::string text;
    for (const std::string& argument : arguments)
        text += " \"" + argument + "\"";
    std::wstring line = L"\"" + path.wstring() + L"\"" + std::wstring(text.begin(), text.end());
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created = {};
    const DWORD flags = apart ? DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP : 0;
    if (!CreateProcessW(
            nullptr, line.data(), nullptr, nullptr, FALSE, flags, nullptr, nullptr, &startup,
            &created))
    {
        return;
    }
    CloseHandle(created.hThread);
    CloseHandle(created.hProcess);
}

void ignoreRequestsToEnd()
{
    for (const int number : {SIGTERM, SIGINT})
        std::signal(number, SIG_IGN);
    SetConsoleCtrlHandler(nullptr, TRUE);
}

void makeStreamsBinary()
{
    for (const int stream : {0, 1, 2})
        _setmode(stream, _O_BINARY);
}

} // namespace tavo::test_support
