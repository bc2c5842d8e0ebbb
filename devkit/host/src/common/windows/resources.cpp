#include "common/resources.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

namespace tavo::devkit
{

namespace
{

int countThreads()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

} // namespace

ProcessResources readProcessResources()
{
    ProcessResources resources;
    PROCESS_MEMORY_COUNTERS memory{};
    if (GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory))
        resources.residentBytes = memory.WorkingSetSize;
    DWORD handles = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &handles))
        resources.descriptors = static_cast<int>(handles);
    resources.threads = countThreads();
    return resources;
}

} // namespace tavo::devkit
