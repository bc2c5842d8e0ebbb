#include "common/stop_signal.h"

#include <algorithm>
#include <stdexcept>

#include <windows.h>

namespace tavo::devkit
{

namespace
{

// What the handler, which runs on a thread of the system's, may reach. It stays set once a signal
// came.
HANDLE stopEvent = nullptr;

BOOL WINAPI onSignal(DWORD)
{
    return SetEvent(stopEvent);
}

} // namespace

StopSignal::StopSignal()
{
    stopEvent = CreateEventW(nullptr, /*manual reset*/ TRUE, FALSE, nullptr);
    if (!stopEvent)
        throw std::runtime_error("There is no event for signals.");
    if (!SetConsoleCtrlHandler(&onSignal, TRUE))
        throw std::runtime_error("The signal handler cannot be set.");
}

StopSignal::~StopSignal()
{
    SetConsoleCtrlHandler(&onSignal, FALSE);
    CloseHandle(stopEvent);
    stopEvent = nullptr;
}

bool StopSignal::waitFor(int64_t timeUs) const
{
    const auto timeoutMs = static_cast<DWORD>((std::max<int64_t>(timeUs, 0) + 999) / 1000);
    return WaitForSingleObject(stopEvent, timeoutMs) == WAIT_OBJECT_0;
}

} // namespace tavo::devkit
