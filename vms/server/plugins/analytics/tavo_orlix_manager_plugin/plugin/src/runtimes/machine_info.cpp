#include "runtimes/machine_info.h"

#include "utils/machine.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

MachineInfo readMachineInfo()
{
    // A 32-bit system on such a processor counts as its 64-bit one.
    const CpuArchitecture architecture = machine_processor_kind() == ProcessorKind::x86
        ? CpuArchitecture::X86_64
        : readNativeArchitecture();
    return {machine_os_name(), machine_os_version(), architecture};
}

CpuArchitecture readNativeArchitecture()
{
    return nativeArchitectureOf(machine_processor_kind());
}

CpuArchitecture nativeArchitectureOf(ProcessorKind kind)
{
    switch (kind)
    {
        case ProcessorKind::x86_64:
            return CpuArchitecture::X86_64;
        case ProcessorKind::arm64:
            return CpuArchitecture::Aarch64;
        case ProcessorKind::x86:
        case ProcessorKind::other:
            break;
    }
    return CpuArchitecture::Unknown;
}

bool supportsAvx2()
{
    return machine_has_avx2();
}

bool hasSystemLibrary(const std::string& name)
{
    return machine_has_library(name);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
