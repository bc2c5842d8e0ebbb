#include "runtimes/chip.h"

#include <algorithm>
#include <string_view>

#include "base/deployment.h"
#include "base/ini.h"
#include "runtimes/placeholders.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kRuntimeStorePath[] = "/KEVX/runtimes/";
constexpr char kRuntimeStoreVersion[] = "1.1.0";
constexpr char kLinkTemplate[] =
    "{chip_name}/{cpu_arch}/{os_name}{/os_version}/library{-driver_version}.tar.gz";

std::string withPrefixUnlessEmpty(const char* prefix, const std::string& text)
{
    return text.empty() ? text : prefix + text;
}

} // namespace

std::string runtimeStorageUrl()
{
    std::string base = ini().RuntimesStorageURL;
    if (base.empty())
        base = std::string(kDefaultStorageBase) + kRuntimeStorePath + kRuntimeStoreVersion;
    if (!base.ends_with('/'))
        base += '/';
    return base;
}

const char* architectureText(CpuArchitecture architecture)
{
    switch (architecture)
    {
        case CpuArchitecture::Aarch64:
            return "aarch64";
        case CpuArchitecture::Aarch64Server:
            return "aarch64_server";
        case CpuArchitecture::X86_64:
            return "x86_64";
        case CpuArchitecture::Unknown:
            break;
    }
    return "UNKNOWN";
}

std::vector<std::string> Chip::listRuntimes(const std::string& mimeType) const
{
    std::vector<std::string> names;
    for (const auto& [name, info] : runtimes)
    {
        const auto& types = info.mimeTypes;
        if (mimeType.empty() || std::find(types.begin(), types.end(), mimeType) != types.end())
            names.push_back(name);
    }
    return names;
}

std::string Chip::getDownloadLink(const std::string& runtimeName) const
{
    const auto runtime = runtimes.find(runtimeName);
    if (runtime == runtimes.end())
    {
        log_info("ERROR: Runtime %s not found 1\n", runtimeName.c_str());
        return {};
    }
    return runtime->second.downloadLink;
}

std::string Chip::getFirstMimeType(const std::string& runtimeName) const
{
    const auto runtime = runtimes.find(runtimeName);
    if (runtime == runtimes.end())
    {
        log_info("ERROR: Runtime %s not found 2\n", runtimeName.c_str());
        return {};
    }
    if (runtime->second.mimeTypes.empty())
    {
        log_info("ERROR: No supported mime types found for the runtime\n");
        return {};
    }
    return runtime->second.mimeTypes.front();
}

void Chip::printChipInfo() const
{
    if (!detected)
        return;
    log_info(
        "Chip name: %s, Chip detected: %d, Correctly installed: %d, Number of chips: %d, API version: %s\n",
        chipName.c_str(), detected, correctlyInstalled, numberOfChips, driverVersion.c_str());
}

std::string buildDownloadLink(
    const std::string& chipName, CpuArchitecture architecture, const std::string& osName,
    const std::string& osVersion, const std::string& driverVersion)
{
    std::string link = runtimeStorageUrl() + kLinkTemplate;
    replaceAll(link, "{chip_name}", chipName);
    replaceAll(link, "{cpu_arch}", architectureText(architecture));
    replaceAll(link, "{os_name}", osName);
    replaceAll(link, "{/os_version}", withPrefixUnlessEmpty("/", osVersion));
    replaceAll(link, "{-driver_version}", withPrefixUnlessEmpty("-", driverVersion));
    log_info("Download link: %s\n", link.c_str());
    return link;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
