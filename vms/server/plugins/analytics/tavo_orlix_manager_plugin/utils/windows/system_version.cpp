#include "utils/windows/system_version.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// From the kernel's own library, since the version functions tell what the program was made for.
RTL_OSVERSIONINFOW systemVersion()
{
    using RtlGetVersion = LONG(WINAPI*)(RTL_OSVERSIONINFOW*);
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    const auto getVersion = library ? reinterpret_cast<RtlGetVersion>(reinterpret_cast<void*>(
                                          GetProcAddress(library, "RtlGetVersion")))
                                    : nullptr;
    RTL_OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (!getVersion || getVersion(&version) != 0)
        return {};
    return version;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
