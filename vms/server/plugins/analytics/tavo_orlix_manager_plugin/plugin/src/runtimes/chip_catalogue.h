#pragma once

#include <memory>
#include <span>
#include <string>
#include <unordered_map>

#include "base/message_board.h"
#include "runtimes/chip.h"
#include "runtimes/machine_info.h"

// Every accelerator family that the system can serve. Building a family's record is its detection:
// the machine's gates, the driver probe where there is one, and, where the family is usable, the
// one runtime that it offers. Nothing else decides what runtimes a user can get.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The runtime names: they key the offers, name the package files, stand in the installed-runtime
// file, and are shown to users.
namespace runtime_name
{
inline constexpr char kGenericCpu[] = "Generic CPU";
inline constexpr char kIntel[] = "Intel";
inline constexpr char kHailo[] = "Hailo";
inline constexpr char kNvidia[] = "NVIDIA";
inline constexpr char kQualcomm[] = "Qualcomm";
inline constexpr char kMemryx[] = "MemryX";
inline constexpr char kDeepx[] = "DEEPX";
inline constexpr char kAxelera[] = "Axelera";
inline constexpr char kSima[] = "SiMa";
inline constexpr char kEdgeCortix[] = "EdgeCortix";
inline constexpr char kAmbarella[] = "Ambarella CV75";
} // namespace runtime_name

[[nodiscard]] std::unique_ptr<Chip> detectCpu(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<HailoChip> detectHailo(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<Chip> detectNvidia(const MachineInfo& machine, MessageBoard& board);
[[nodiscard]] std::unique_ptr<Chip> detectQualcomm(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<Chip> detectMemryx(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<Chip> detectDeepx(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<Chip> detectAxelera(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<Chip> detectSima(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<Chip> detectIntel(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<Chip> detectEdgeCortix(const MachineInfo& machine);
[[nodiscard]] std::unique_ptr<Chip> detectAmbarella(const MachineInfo& machine);

// The families, in the order in which they are detected.
struct ChipFamily
{
    Chip (*detect)(const MachineInfo& machine, MessageBoard& board);
    int printPlace; // its place when the machine is told in the log, an order of its own
};
[[nodiscard]] std::span<const ChipFamily> chipFamilies();

// The filing step of each family: the gates of its runtime, for a record that its probe has filled.
// Public so that the road of hardware that the build machine lacks can be tested.
void fileHailoRuntime(HailoChip& chip, const MachineInfo& machine);
void fileMemryxRuntime(Chip& chip, const MachineInfo& machine);
void fileDeepxRuntime(Chip& chip, const MachineInfo& machine);
void fileAxeleraRuntime(Chip& chip, const MachineInfo& machine);
void fileSimaRuntime(Chip& chip, const MachineInfo& machine);
void fileEdgeCortixRuntime(Chip& chip, const MachineInfo& machine);

// By runtime name, the page on using that hardware; an empty text where there is none.
[[nodiscard]] const std::unordered_map<std::string, std::string>& documentationLinks();

} // namespace tavo::vms_server_plugins::analytics::orlix
