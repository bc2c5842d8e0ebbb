#include "testing/programs.h"

#include <filesystem>
#include <stdexcept>

#include <windows.h>

#include <tlhelp32.h>

namespace tavo::test_support
{
namespace
{

std::filesystem::path pathOf(const std::string& text)
{
    return std::filesystem::absolute(std::u8string(text.begin(), text.end())).make_preferred();
}

std::wstring fileOf(DWORD process)
{
    const HANDLE handle =
        OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, process);
    if (!handle)
        return {};
    std::wstring path(32'768, L'\0');
    auto size = static_cast<DWORD>(path.size());
    const bool isKnown = QueryFullProcessImageNameW(handle, 0, path.data(), &size) != 0;
    // One that has ended is there as long as somebody holds it.
    const bool isRunning = WaitForSingleObject(handle, 0) != WAIT_OBJECT_0;
    CloseHandle(handle);
    path.resize(isKnown && isRunning ? size : 0);
    return path;
}

} // namespace

std::vector<std::uint32_t> runningPrograms(const std::string& file)
{
    const std::wstring wanted = pathOf(file).wstring();
    std::vector<std::uint32_t> found;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Process32FirstW(snapshot, &entry); more;
         more = Process32NextW(snapshot, &entry))
    {
        if (_wcsicmp(fileOf(entry.th32ProcessID).c_str(), wanted.c_str()) == 0)
            found.push_back(entry.th32ProcessID);
    }
    CloseHandle(snapshot);
    return found;
}

struct LoneProgram::Process
{
    HANDLE handle;
};

LoneProgram::LoneProgram(const std::vector<std::string>& arguments)
{
    std::wstring line;
    for (const std::string& argument : arguments)
    {
        const std::filesystem::path text(std::u8string(argument.begin(), argument.end()));
        line += L"\"" + text.wstring() + L"\" ";
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION created{};
    if (!CreateProcessW(
            nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &created))
    {
        throw std::runtime_error(arguments[0] + " cannot be started");
    }
    CloseHandle(created.hThread);
    m_process = std::make_unique<Process>(Process{created.hProcess});
}

LoneProgram::~LoneProgram()
{
    end();
}

void LoneProgram::end()
{
    if (!m_process)
        return;
    TerminateProcess(m_process->handle, 1);
    WaitForSingleObject(m_process->handle, INFINITE);
    CloseHandle(m_process->handle);
    m_process.reset();
}

} // namespace tavo::test_support
