#include "utils/machine.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <windows.h>

#include "utils/log.h"
#include "utils/windows/system_version.h"
#include "utils/windows/wide_text.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

// "VEN_10DE&DEV_2204&..."
bool parseVendor(std::string_view key, std::uint16_t& vendor)
{
    constexpr std::string_view kPrefix = "VEN_";
    constexpr std::size_t kDigits = 4;
    if (key.size() < kPrefix.size() + kDigits ||
        _strnicmp(key.data(), kPrefix.data(), kPrefix.size()) != 0)
    {
        return false;
    }
    const char* const digits = key.data() + kPrefix.size();
    const auto result = std::from_chars(digits, digits + kDigits, vendor, 16);
    return result.ec == std::errc() && result.ptr == digits + kDigits;
}

} // namespace

std::string machine_os_name()
{
    return "Windows";
}

std::string machine_os_version()
{
    const RTL_OSVERSIONINFOW version = systemVersion();
    if (version.dwMajorVersion == 0)
        return "Unknown";
    return log_format_alloc(
        256, "%lu.%lu.%lu", version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber);
}

std::string machine_environment(const char* name)
{
    const wchar_t* const value = _wgetenv(wideText(name).c_str());
    return value ? narrowText(value) : "";
}

ProcessorKind machine_processor_kind()
{
    SYSTEM_INFO system = {};
    GetNativeSystemInfo(&system);
    switch (const auto kind = static_cast<ProcessorKind>(system.wProcessorArchitecture))
    {
        case ProcessorKind::x86:
        case ProcessorKind::x86_64:
        case ProcessorKind::arm64:
            return kind;
        default:
            return ProcessorKind::other;
    }
}

// Runtimes bring along what they need.
bool machine_has_library(const std::string&)
{
    return true;
}

bool machine_pci_devices(std::vector<PciDevice>& devices, int& systemError, const char* root)
{
    HKEY key = nullptr;
    systemError =
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, wideText(root).c_str(), 0, KEY_ENUMERATE_SUB_KEYS, &key);
    if (systemError != ERROR_SUCCESS)
        return false;
    constexpr DWORD kMostKeys = 0x10000; // of a list that never ends
    for (DWORD index = 0; index < kMostKeys; ++index)
    {
        wchar_t name[256];
        DWORD length = std::size(name);
        const LONG status =
            RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS)
            break;
        if (status != ERROR_SUCCESS)
        {
            std::fprintf(
                stderr,
                "RegEnumKeyExA failed at index "
                "%lu, status=%ld\n",
                index, status);
            continue;
        }
        PciDevice device{narrowText({name, length})};
        if (parseVendor(device.key, device.vendor))
            devices.push_back(std::move(device));
    }
    RegCloseKey(key);
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
