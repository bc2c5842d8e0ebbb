#include "runtimes/chip_catalogue.h"

#include "base/deployment.h"
#include "base/ini.h"
#include "runtimes/driver_probes.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kOnnx[] = "application/x-onnx";

bool never()
{
    return false;
}

bool isX86(const MachineInfo& machine)
{
    return machine.getCpuArchitecture() == CpuArchitecture::X86_64;
}

bool isArm(const MachineInfo& machine)
{
    return machine.getCpuArchitecture() == CpuArchitecture::Aarch64;
}

bool isX86OrArm(const MachineInfo& machine)
{
    return isX86(machine) || isArm(machine);
}

bool fitsAxelera(const MachineInfo& machine)
{
    if (!isX86(machine))
        return false;
    if (machine.getOsName() == "Ubuntu" && machine.getOsVersion() == "22.04")
        return true;
    log_info(
        "Axelera runtime is only supported on Ubuntu 22.04. Current OS: %s %s\n",
        machine.getOsName().c_str(), machine.getOsVersion().c_str());
    return false;
}

// Lower case here, upper case for Axelera: the two makers' packages are named so.
bool fitsEdgeCortix(const MachineInfo& machine)
{
    return isX86(machine) || machine.getOsName() == "ubuntu" || machine.getOsVersion() == "22.04";
}

bool ambarellaIsEnabled()
{
    return ini().enableAmbarellaIntegration;
}

// Inference runs on the camera's own chip: nothing probes for it, so that no runtime is offered.
bool fitsAmbarella(const MachineInfo& machine)
{
    if (isArm(machine))
        return true;
    log_info(
        "Ambarella runtime is only supported on aarch64. Current CPU architecture: %s\n",
        architectureText(machine.getCpuArchitecture()));
    return false;
}

// What needs no driver is there by being looked for; of Intel the maker is not asked, since any
// x86-64 processor runs it.
void markUsable(Chip& chip, const MachineInfo& /*machine*/, MessageBoard& /*board*/)
{
    chip.detected = true;
    chip.correctlyInstalled = true;
    chip.numberOfChips = 1;
}

void probeHailo(Chip& chip, const MachineInfo& /*machine*/, MessageBoard& /*board*/)
{
    probeHailoDriver(chip);
}

void probeNvidia(Chip& chip, const MachineInfo& machine, MessageBoard& board)
{
    if (isX86(machine)) // there is no probe of those for Arm
        probeNvidiaDriver(chip, board);
}

void probeDeepx(Chip& chip, const MachineInfo& /*machine*/, MessageBoard& /*board*/)
{
    probeDeepxDriver(chip);
}

std::string osVersion(const MachineInfo& machine)
{
    return machine.getOsVersion();
}

// One package serves every Windows.
std::string osVersionButOfWindows(const MachineInfo& machine)
{
    return machine.getOsName() == "Windows" ? std::string() : machine.getOsVersion();
}

const char* hailoMimeType(const Chip& chip)
{
    if (chip.hailoType == 1)
        return "application/x-hailo8";
    if (chip.hailoType == 2)
        return "application/x-hailo8l";
    log_info("ERROR: No supported mime types found for the runtime\n");
    return nullptr;
}

constexpr ChipFamily kFamilies[] = {
    {kGenericCpuRuntime, "CPU", "Checking for supported CPU\n", kOnnx, "", 0, nullptr, markUsable},
    {"Hailo", "HAILO", "Checking for supported Hailo chips\n", nullptr, kHailoDocumentationLink, 1,
     isX86OrArm, probeHailo},
    {"NVIDIA", "NVIDIA", "Checking for supported Nvidia chips\n", kOnnx, kNvidiaDocumentationLink,
     2, isX86OrArm, probeNvidia},
    {.runtimeName = "Qualcomm", .printPlace = 3, .isLookedFor = never},
    {"MemryX", "MEMRYX", "Checking for supported MemryX chips\n", "application/zip; device=memryx",
     "", 4, isX86OrArm},
    {"DEEPX", "DEEPX", "Checking for supported DEEPX chips\n", "application/x-dxnn",
     kDeepxDocumentationLink, 5, isX86OrArm, probeDeepx, osVersionButOfWindows},
    {"Axelera", "AXELERA", "Checking for supported Axelera chips\n", "application/x-axelera", "", 8,
     fitsAxelera, nullptr, osVersion},
    {"SiMa", "SIMA", "Checking for supported SiMa chips\n", "application/x-sima", "", 6, isX86},
    {"Intel", "INTEL", "Checking for supported Intel chips\n", kOnnx, kIntelDocumentationLink, 7,
     isX86, markUsable},
    {"EdgeCortix", "EDGE CORTIX", "Checking for supported Edge Cortix chips\n",
     "application/zip; device=edge-cortix", "", 9, fitsEdgeCortix, nullptr, osVersion},
    {"Ambarella CV75", "AMBARELLA", "Checking for supported Ambarella CV75 chips\n", nullptr, "",
     10, fitsAmbarella, nullptr, nullptr, ambarellaIsEnabled},
};

void fileRuntime(const ChipFamily& family, const MachineInfo& machine, Chip& chip)
{
    std::string link = buildDownloadLink(
        chip.chipName, chip.cpuArchitecture, machine.getOsName(),
        family.linkOsVersion ? family.linkOsVersion(machine) : std::string(), chip.driverVersion);
    const char* const mimeType = family.mimeType ? family.mimeType : hailoMimeType(chip);
    if (mimeType)
        chip.runtimes[family.runtimeName] = {std::move(link), {mimeType}};
}

} // namespace

std::span<const ChipFamily> chipFamilies()
{
    return kFamilies;
}

Chip detectChip(const ChipFamily& family, const MachineInfo& machine, MessageBoard& board)
{
    Chip chip;
    chip.cpuArchitecture = machine.getCpuArchitecture();
    if (family.isLookedFor && !family.isLookedFor())
        return chip;
    chip.chipName = family.chipName;
    log_info("%s", family.searchLine);
    if (family.fits && !family.fits(machine))
        return chip;
    if (family.probe)
        family.probe(chip, machine, board);
    if (chip.correctlyInstalled)
        fileRuntime(family, machine, chip);
    return chip;
}

const std::unordered_map<std::string, std::string>& documentationLinks()
{
    static const auto links = []
    {
        std::unordered_map<std::string, std::string> byName;
        for (const ChipFamily& family : kFamilies)
            byName[family.runtimeName] = family.documentation;
        return byName;
    }();
    return links;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
