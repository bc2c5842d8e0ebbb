#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "utils/platform_names.h"

// Plain facts about this machine. What follows from them is decided elsewhere. No state; any thread
// may call; nothing throws.

namespace tavo::vms_server_plugins::analytics::orlix
{

// What the processor of the machine is, whatever this program was built for. The numbers are those
// of a system that has numbers for it.
enum class ProcessorKind : std::uint16_t
{
    x86 = 0,
    x86_64 = 9,
    arm64 = 12,
    other = 0xFFFF,
};

// The distribution's name in one word, and its version: "Ubuntu" and "22.04". "Unknown" when the
// system does not tell.
[[nodiscard]] std::string machine_os_name();
[[nodiscard]] std::string machine_os_version();

[[nodiscard]] ProcessorKind machine_processor_kind();

// By the name that a Unix system has for its machine: "x86_64", "aarch64", "i686" and its like.
[[nodiscard]] ProcessorKind parse_processor_kind(std::string_view machine);

// EAX, EBX, ECX, EDX of a CPUID leaf; zeros on a processor that has no such leaf.
[[nodiscard]] std::array<std::uint32_t, 4> machine_cpuid(std::uint32_t leaf, std::uint32_t subLeaf);

// The processor's answer; whether the system lets programs use it is not asked.
[[nodiscard]] bool machine_has_avx2();

// The loader finds a library of that name, or of that name with a version number behind it. The
// library is loaded for a moment.
[[nodiscard]] bool machine_has_library(const std::string& name);

struct PciDevice
{
    std::string key; // the system's name for it
    std::uint16_t vendor = 0;
};

// All devices below `root`, which has the form of kPciDeviceRoot, whose vendor can be read. False,
// with the system's error code, when there is no list.
[[nodiscard]] bool machine_pci_devices(
    std::vector<PciDevice>& devices, int& systemError, const char* root = kPciDeviceRoot);

// A variable of this process's environment, in UTF-8; empty without it.
[[nodiscard]] std::string machine_environment(const char* name);

// The names of all entries of a folder that are no folders themselves; empty when it cannot be
// read.
[[nodiscard]] std::vector<std::string> list_files(const std::string& folder);

// Of the text of /etc/os-release.
struct OsRelease
{
    std::string name = "Unknown"; // first word of NAME
    std::string version = "Unknown"; // VERSION_ID
};
[[nodiscard]] OsRelease parse_os_release(std::string_view text);

} // namespace tavo::vms_server_plugins::analytics::orlix
