#pragma once

#include <string>
#include <utility>

#include "runtimes/cpu_architecture.h"
#include "utils/machine.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// What download links and the gates of the chip catalogue depend on.
class MachineInfo
{
public:
    MachineInfo() = default;
    MachineInfo(std::string osName, std::string osVersion, CpuArchitecture cpuArchitecture) :
        m_osName(std::move(osName)),
        m_osVersion(std::move(osVersion)),
        m_cpuArchitecture(cpuArchitecture)
    {}

    [[nodiscard]] std::string getOsName() const { return m_osName; }
    [[nodiscard]] std::string getOsVersion() const { return m_osVersion; }
    [[nodiscard]] CpuArchitecture getCpuArchitecture() const { return m_cpuArchitecture; }

private:
    std::string m_osName; // "Windows", "Ubuntu", "Debian"; "Unknown" if it cannot be told
    std::string m_osVersion;
    CpuArchitecture m_cpuArchitecture = CpuArchitecture::Unknown;
};

[[nodiscard]] MachineInfo readMachineInfo();

// Stricter than readMachineInfo: a 32-bit x86 system is Unknown here.
[[nodiscard]] CpuArchitecture readNativeArchitecture();
[[nodiscard]] CpuArchitecture nativeArchitectureOf(ProcessorKind kind);

// The processor's own answer; whether the system lets programs use it is not asked.
[[nodiscard]] bool supportsAvx2();

// The loader finds the shared library under that name, or with a version behind it.
[[nodiscard]] bool hasSystemLibrary(const std::string& name);

} // namespace tavo::vms_server_plugins::analytics::orlix
