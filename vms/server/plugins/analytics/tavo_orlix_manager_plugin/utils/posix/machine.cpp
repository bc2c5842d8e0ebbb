#include "utils/machine.h"

#include <charconv>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/utsname.h>

#include "utils/files.h"
#include "utils/folders.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

// The start of a text file, which is all that is asked of the files here; empty when it cannot be
// read.
std::string startOf(const std::string& path)
{
    const FileStream file(file_open_read(path.c_str()));
    char text[8 * 1024];
    return file ? std::string(text, std::fread(text, 1, sizeof text, file.get())) : std::string();
}

OsRelease osRelease()
{
    const std::string text = startOf("/etc/os-release");
    return parse_os_release(text.empty() ? startOf("/usr/lib/os-release") : text);
}

bool canLoad(const std::string& name)
{
    void* const library = dlopen(name.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (library)
        dlclose(library);
    return library != nullptr;
}

// "0x10de\n"
bool readVendor(const std::string& device, std::uint16_t& vendor)
{
    const std::string text = startOf(device + "/vendor");
    return text.starts_with("0x") &&
        std::from_chars(text.data() + 2, text.data() + text.size(), vendor, 16).ec == std::errc();
}

} // namespace

std::string machine_os_name()
{
    return osRelease().name;
}

std::string machine_os_version()
{
    return osRelease().version;
}

std::string machine_environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

ProcessorKind machine_processor_kind()
{
    utsname system = {};
    if (uname(&system) != 0)
        return ProcessorKind::other;
    return parse_processor_kind(system.machine);
}

bool machine_has_library(const std::string& name)
{
    // The loader is asked, since only it knows all its places.
    constexpr int kVersions = 100;
    bool found = canLoad(name);
    for (int version = 0; version < kVersions && !found; ++version)
        found = canLoad(name + "." + std::to_string(version));
    return found;
}

bool machine_pci_devices(std::vector<PciDevice>& devices, int& systemError, const char* root)
{
    std::error_code error;
    for (std::string& name : folder_entries(root, error))
    {
        PciDevice device{std::move(name)};
        if (readVendor(std::string(root) + "/" + device.key, device.vendor))
            devices.push_back(std::move(device));
    }
    systemError = error.value();
    return !error;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
