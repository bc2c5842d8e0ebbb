#pragma once

#include <cstdint>

namespace tavo::vms_server_plugins::analytics::orlix
{

enum class CpuArchitecture : std::int32_t
{
    Unknown = 0,
    Aarch64 = 1,
    Aarch64Server = 2,
    X86_64 = 3,
};

// As it stands in logs and in download links; "UNKNOWN" for any other value.
[[nodiscard]] const char* architectureText(CpuArchitecture architecture);

} // namespace tavo::vms_server_plugins::analytics::orlix
