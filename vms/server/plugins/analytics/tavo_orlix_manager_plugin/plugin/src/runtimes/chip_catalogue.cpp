#include "runtimes/chip_catalogue.h"

#include "base/deployment.h"
#include "base/ini.h"
#include "runtimes/driver_probes.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kOnnxMimeType[] = "application/x-onnx";
constexpr char kHailo8MimeType[] = "application/x-hailo8";
constexpr char kHailo8lMimeType[] = "application/x-hailo8l";

bool isX86(const MachineInfo& machine)
{
    return machine.getCpuArchitecture() == CpuArchitecture::X86_64;
}

bool isX86OrArm(const MachineInfo& machine)
{
    return isX86(machine) || machine.getCpuArchitecture() == CpuArchitecture::Aarch64;
}

template <typename ChipRecord = Chip>
std::unique_ptr<ChipRecord> newChip(const MachineInfo& machine, const char* chipName)
{
    auto chip = std::make_unique<ChipRecord>();
    chip->cpuArchitecture = machine.getCpuArchitecture();
    chip->chipName = chipName;
    return chip;
}

// Offers the family's runtime, if hardware and driver are fit.
void fileRuntime(
    Chip& chip, const char* runtimeName, const char* mimeType, const MachineInfo& machine,
    const std::string& osVersion = {})
{
    if (!chip.correctlyInstalled)
        return;
    chip.runtimes[runtimeName] = {
        buildDownloadLink(
            chip.chipName, chip.cpuArchitecture, machine.getOsName(), osVersion,
            chip.driverVersion),
        {mimeType}};
}

// What needs no driver is there by being looked for.
void markAlwaysUsable(Chip& chip)
{
    chip.detected = true;
    chip.correctlyInstalled = true;
    chip.numberOfChips = 1;
    chip.driverVersion.clear();
}

} // namespace

std::unique_ptr<Chip> detectCpu(const MachineInfo& machine)
{
    auto chip = newChip(machine, "CPU");
    log_info("Checking for supported CPU\n");
    markAlwaysUsable(*chip);
    fileRuntime(*chip, runtime_name::kGenericCpu, kOnnxMimeType, machine);
    return chip;
}

std::unique_ptr<HailoChip> detectHailo(const MachineInfo& machine)
{
    auto chip = newChip<HailoChip>(machine, "HAILO");
    log_info("Checking for supported Hailo chips\n");
    if (isX86OrArm(machine))
    {
        probeHailoDriver(*chip);
        fileHailoRuntime(*chip, machine);
    }
    return chip;
}

void fileHailoRuntime(HailoChip& chip, const MachineInfo& machine)
{
    if (!chip.correctlyInstalled)
        return;
    fileRuntime(chip, runtime_name::kHailo, kHailo8MimeType, machine);
    if (chip.hailoType == 1)
        return;
    if (chip.hailoType == 2)
    {
        chip.runtimes[runtime_name::kHailo].mimeTypes = {kHailo8lMimeType};
        return;
    }
    chip.runtimes.clear();
    log_info("ERROR: No supported mime types found for the runtime\n");
}

std::unique_ptr<Chip> detectNvidia(const MachineInfo& machine, MessageBoard& board)
{
    auto chip = newChip(machine, "NVIDIA");
    log_info("Checking for supported Nvidia chips\n");
    if (isX86(machine))
        probeNvidiaDriver(*chip, board);
    if (isX86OrArm(machine))
        fileRuntime(*chip, runtime_name::kNvidia, kOnnxMimeType, machine);
    return chip;
}

std::unique_ptr<Chip> detectQualcomm(const MachineInfo& machine)
{
    return newChip(machine, "");
}

std::unique_ptr<Chip> detectMemryx(const MachineInfo& machine)
{
    auto chip = newChip(machine, "MEMRYX");
    log_info("Checking for supported MemryX chips\n");
    fileMemryxRuntime(*chip, machine);
    return chip;
}

void fileMemryxRuntime(Chip& chip, const MachineInfo& machine)
{
    if (isX86OrArm(machine))
        fileRuntime(chip, runtime_name::kMemryx, "application/zip; device=memryx", machine);
}

std::unique_ptr<Chip> detectDeepx(const MachineInfo& machine)
{
    auto chip = newChip(machine, "DEEPX");
    log_info("Checking for supported DEEPX chips\n");
    if (isX86OrArm(machine))
    {
        probeDeepxDriver(*chip);
        fileDeepxRuntime(*chip, machine);
    }
    return chip;
}

void fileDeepxRuntime(Chip& chip, const MachineInfo& machine)
{
    // One package serves every Windows.
    const std::string osVersion =
        machine.getOsName() == "Windows" ? std::string() : machine.getOsVersion();
    fileRuntime(chip, runtime_name::kDeepx, "application/x-dxnn", machine, osVersion);
}

std::unique_ptr<Chip> detectAxelera(const MachineInfo& machine)
{
    auto chip = newChip(machine, "AXELERA");
    log_info("Checking for supported Axelera chips\n");
    fileAxeleraRuntime(*chip, machine);
    return chip;
}

void fileAxeleraRuntime(Chip& chip, const MachineInfo& machine)
{
    if (!isX86(machine))
        return;
    if (machine.getOsName() != "Ubuntu" || machine.getOsVersion() != "22.04")
    {
        log_info(
            "Axelera runtime is only supported on Ubuntu 22.04. Current OS: %s %s\n",
            machine.getOsName().c_str(), machine.getOsVersion().c_str());
        return;
    }
    fileRuntime(
        chip, runtime_name::kAxelera, "application/x-axelera", machine, machine.getOsVersion());
}

std::unique_ptr<Chip> detectSima(const MachineInfo& machine)
{
    auto chip = newChip(machine, "SIMA");
    log_info("Checking for supported SiMa chips\n");
    fileSimaRuntime(*chip, machine);
    return chip;
}

void fileSimaRuntime(Chip& chip, const MachineInfo& machine)
{
    if (isX86(machine))
        fileRuntime(chip, runtime_name::kSima, "application/x-sima", machine);
}

std::unique_ptr<Chip> detectIntel(const MachineInfo& machine)
{
    auto chip = newChip(machine, "INTEL");
    log_info("Checking for supported Intel chips\n");
    if (isX86(machine))
    {
        // Any x86-64 processor runs it, so the maker is not asked for.
        markAlwaysUsable(*chip);
        fileRuntime(*chip, runtime_name::kIntel, kOnnxMimeType, machine);
    }
    return chip;
}

std::unique_ptr<Chip> detectEdgeCortix(const MachineInfo& machine)
{
    auto chip = newChip(machine, "EDGE CORTIX");
    log_info("Checking for supported Edge Cortix chips\n");
    fileEdgeCortixRuntime(*chip, machine);
    return chip;
}

void fileEdgeCortixRuntime(Chip& chip, const MachineInfo& machine)
{
    // Lower case here, upper case for Axelera: the two makers' packages are named so.
    if (isX86(machine) || machine.getOsName() == "ubuntu" || machine.getOsVersion() == "22.04")
    {
        fileRuntime(
            chip, runtime_name::kEdgeCortix, "application/zip; device=edge-cortix", machine,
            machine.getOsVersion());
    }
}

std::unique_ptr<Chip> detectAmbarella(const MachineInfo& machine)
{
    if (!ini().enableAmbarellaIntegration)
        return newChip(machine, "");

    auto chip = newChip(machine, "AMBARELLA");
    log_info("Checking for supported Ambarella CV75 chips\n");
    if (machine.getCpuArchitecture() != CpuArchitecture::Aarch64)
    {
        log_info(
            "Ambarella runtime is only supported on aarch64. Current CPU architecture: %s\n",
            architectureText(machine.getCpuArchitecture()));
    }
    // Inference runs on the camera's own chip: no runtime is offered for this machine.
    return chip;
}

std::span<const ChipFamily> chipFamilies()
{
    // Of a Hailo record the common part is kept: its type has done its work with the filing.
    static constexpr ChipFamily kFamilies[] = {
        {[](const MachineInfo& machine, MessageBoard&) { return *detectCpu(machine); }, 0},
        {[](const MachineInfo& machine, MessageBoard&) { return Chip(*detectHailo(machine)); }, 1},
        {[](const MachineInfo& machine, MessageBoard& board)
         { return *detectNvidia(machine, board); },
         2},
        {[](const MachineInfo& machine, MessageBoard&) { return *detectQualcomm(machine); }, 3},
        {[](const MachineInfo& machine, MessageBoard&) { return *detectMemryx(machine); }, 4},
        {[](const MachineInfo& machine, MessageBoard&) { return *detectDeepx(machine); }, 5},
        {[](const MachineInfo& machine, MessageBoard&) { return *detectAxelera(machine); }, 8},
        {[](const MachineInfo& machine, MessageBoard&) { return *detectSima(machine); }, 6},
        {[](const MachineInfo& machine, MessageBoard&) { return *detectIntel(machine); }, 7},
        {[](const MachineInfo& machine, MessageBoard&) { return *detectEdgeCortix(machine); }, 9},
        {[](const MachineInfo& machine, MessageBoard&) { return *detectAmbarella(machine); }, 10},
    };
    return kFamilies;
}

const std::unordered_map<std::string, std::string>& documentationLinks()
{
    static const std::unordered_map<std::string, std::string> links{
        {runtime_name::kGenericCpu, ""},
        {runtime_name::kIntel, kIntelDocumentationLink},
        {runtime_name::kHailo, kHailoDocumentationLink},
        {runtime_name::kNvidia, kNvidiaDocumentationLink},
        {runtime_name::kQualcomm, ""},
        {runtime_name::kMemryx, ""},
        {runtime_name::kDeepx, kDeepxDocumentationLink},
        {runtime_name::kAxelera, ""},
        {runtime_name::kSima, ""},
        {runtime_name::kEdgeCortix, ""},
        {runtime_name::kAmbarella, ""},
    };
    return links;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
