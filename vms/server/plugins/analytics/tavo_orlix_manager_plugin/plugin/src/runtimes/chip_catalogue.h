#pragma once

#include <span>
#include <string>
#include <unordered_map>

#include "base/message_board.h"
#include "runtimes/chip.h"
#include "runtimes/machine_info.h"

// Every accelerator family that the system can serve, a row each. Building a family's record is its
// detection. Nothing else decides what runtimes a user can get.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The runtime that may lie in a folder of its own.
inline constexpr char kGenericCpuRuntime[] = "Generic CPU";

// A row. What cannot be told by a text is a function; null where there is nothing to ask or do.
struct ChipFamily
{
    const char* runtimeName = ""; // keys the offers, names the package, is shown to users
    const char* chipName = ""; // the family in download links
    const char* searchLine = ""; // for the log, when it is looked for
    const char* mimeType =
        nullptr; // of the models that the runtime runs; null: Hailo's, by its type
    const char* documentation = ""; // link to the page on using that hardware
    int printPlace = 0; // when the machine is told in the log, an order of its own

    bool (*fits)(const MachineInfo& machine) = nullptr; // whether the machine could run it
    void (*probe)(Chip& chip, const MachineInfo& machine, MessageBoard& board) = nullptr;
    std::string (*linkOsVersion)(const MachineInfo& machine) = nullptr; // as the link has it
    bool (*isLookedFor)() = nullptr; // false leaves the record as new, with no line
};

// In the order in which they are detected.
[[nodiscard]] std::span<const ChipFamily> chipFamilies();

// The record of one family: the gate of the machine, the driver probe, and, where hardware and
// driver are fit, the runtime that it offers. Blocks for as long as the vendor's tools take; what a
// user can mend is on the board.
[[nodiscard]] Chip detectChip(
    const ChipFamily& family, const MachineInfo& machine, MessageBoard& board);

// By runtime name, the page on using that hardware; an empty text where there is none.
[[nodiscard]] const std::unordered_map<std::string, std::string>& documentationLinks();

} // namespace tavo::vms_server_plugins::analytics::orlix
