#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "device_agent/settings/device_settings.h"

// The names of a device's settings, and what their values come to. Values are text, as the host
// stores them.

namespace tavo::vms_server_plugins::analytics::orlix
{

using SettingValues = std::map<std::string, std::string>;

namespace setting
{
inline constexpr char kDeviceActive[] = "deviceActiveSwitch";
inline constexpr char kSelectedPipeline[] = "selectedPipeline";
inline constexpr char kDumpingObjectType[] = "dumpingDetectionObjectType";
inline constexpr char kDumpingTime[] = "dumpingDetectionTimeThreshold";
inline constexpr char kLoiterTime[] = "loiterDetectionTimeThreshold";
inline constexpr char kLoiterObjectClass[] = "loiterDetectionObjectClass";
inline constexpr char kExternalProcessorPrefix[] = "externalprocessor.";
inline constexpr char kMaskType[] = "maskType";
inline constexpr char kLine[] = "lineCrossingLine";
inline constexpr char kCropBox[] = "cropBox";
inline constexpr char kVisualisePrefix[] = "visualise_"; // then a class
} // namespace setting

// What stands for a setting that the user never touched: shown in the dialog, and for loitering and
// the masks applied as well.
namespace setting_default
{
inline constexpr char kDumpingObjectType[] = "object";
inline constexpr std::int64_t kDumpingTime = 15; // seconds
inline constexpr std::int64_t kLoiterTime = 30; // seconds
inline constexpr char kLoiterObjectClass[] = "person";
inline constexpr char kMaskType[] = "inclusive";
} // namespace setting_default

// Throws std::invalid_argument, with name and value, for a time that is no number.
void checkSettingValues(const SettingValues& values);

// Replaces all that is derived from the settings' values alone, and what of it depends on the
// pipeline's processors; a value that is gone resets its field. The caller holds settingsLock().
// Throws what checkSettingValues throws, with all fields as they were.
void applySettingValues(const SettingValues& values, DeviceSettings& settings);

} // namespace tavo::vms_server_plugins::analytics::orlix
