#pragma once

// Addresses that belong to a deployment rather than to the program. Those with a key in the ini
// file are defaults; the others are links shown to users.

namespace tavo::vms_server_plugins::analytics::orlix
{

inline constexpr char kDefaultCloudApi[] = "https://api.orlix.tavo.example/dev";

// Base of the file storage, without a slash at its end.
inline constexpr char kDefaultStorageBase[] = "https://storage.tavo.example/artifactory/orlix_open";

inline constexpr char kDocumentationLink[] = "https://docs.tavo.example/orlix/manager";
inline constexpr char kManualInstallationLink[] =
    "https://docs.tavo.example/orlix/manager/manual-installation";
inline constexpr char kTroubleshootingLink[] =
    "https://docs.tavo.example/orlix/manager/troubleshooting";

inline constexpr char kIntelDocumentationLink[] = "https://docs.tavo.example/orlix/hardware/intel";
inline constexpr char kHailoDocumentationLink[] = "https://docs.tavo.example/orlix/hardware/hailo";
inline constexpr char kNvidiaDocumentationLink[] =
    "https://docs.tavo.example/orlix/hardware/nvidia";
inline constexpr char kDeepxDocumentationLink[] = "https://docs.tavo.example/orlix/hardware/deepx";
inline constexpr char kNvidiaSupportLink[] =
    "https://docs.tavo.example/orlix/hardware/nvidia/support-x86_64";
inline constexpr char kNvidiaDriverLink[] = "https://drivers.gpu.tavo.example/";

} // namespace tavo::vms_server_plugins::analytics::orlix
