#pragma once

#include <string>

#include "device_agent/settings/setting_values.h"

// A device's setting values on the plugin's own disk, so that they survive a restart of the host:
// a text file of one "<key>=<value>" a line. A value with a line feed comes back cut at it.

namespace tavo::vms_server_plugins::analytics::orlix
{

[[nodiscard]] std::string settingsCachePath(
    const std::string& settingsCacheDir, const std::string& deviceId);

// Empty, and silently so, when the file cannot be read. Lines without "=" are skipped; of two with
// one key the later counts.
[[nodiscard]] SettingValues loadSettingsCache(const std::string& path);

// Replaces the file with `values`, but for those whose truth is elsewhere: the selected pipeline
// and whether the device is active. A failure is logged and has no other effect.
void saveSettingsCache(const std::string& path, const SettingValues& values);

} // namespace tavo::vms_server_plugins::analytics::orlix
