#pragma once

#include <string>
#include <vector>

// A server that the library has never met.

namespace tavo::devkit
{

inline constexpr char kRecordsFile[] = "records.json";
inline constexpr char kIniFile[] = "tavo_orlix_manager_plugin.ini";

[[nodiscard]] std::string newDeviceId(int index);

// Its records, as the stand-in host reads them. Its cloud knows it by the token; without one it has
// no cloud. The cameras have these names and the ids of their places in line.
[[nodiscard]] std::string newServerRecords(
    const std::string& token, const std::vector<std::string>& cameras);

// The library's ini file, with which it finds the services at `url`, and more lines of it.
[[nodiscard]] std::string iniText(const std::string& url, const std::vector<std::string>& options);

} // namespace tavo::devkit
