#pragma once

#include <map>
#include <string>
#include <vector>

#include "runtimes/cpu_architecture.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// One offered runtime.
struct RuntimeInfo
{
    std::string downloadLink; // of the runtime's package
    std::vector<std::string> mimeTypes; // of the models that it runs, the main one first
};

// One accelerator family on this machine. Filled once by its detection and constant afterwards, so
// any thread may read it. A family that is of no use here has no runtimes.
struct Chip
{
    std::map<std::string, RuntimeInfo> runtimes; // by runtime name
    CpuArchitecture cpuArchitecture = CpuArchitecture::Unknown;
    std::string chipName; // the family in download links
    std::string driverVersion; // empty where the family has none
    bool detected = false; // the hardware or its tools answered
    bool correctlyInstalled = false; // hardware and driver are fit; only then a runtime is offered
    int numberOfChips = 0;
    int hailoType = 0; // in Hailo's record: 0 none, 1 Hailo-8, 2 Hailo-8L

    // Names of the runtimes that run `mimeType`; all of them for an empty one.
    [[nodiscard]] std::vector<std::string> listRuntimes(const std::string& mimeType) const;

    // Empty, with the reason logged, for a name that this family does not offer.
    [[nodiscard]] std::string getDownloadLink(const std::string& runtimeName) const;
    [[nodiscard]] std::string getFirstMimeType(const std::string& runtimeName) const;

    // Logs what was found; nothing where nothing was.
    void printChipInfo() const;
};

// Where runtimes are downloaded from, with a slash at its end: what the ini file names, or the
// built-in storage.
[[nodiscard]] std::string runtimeStorageUrl();

// The URL of a runtime's package there.
// `osVersion` and `driverVersion` are left out of it where they are empty.
[[nodiscard]] std::string buildDownloadLink(
    const std::string& chipName, CpuArchitecture architecture, const std::string& osName,
    const std::string& osVersion, const std::string& driverVersion);

} // namespace tavo::vms_server_plugins::analytics::orlix
