#pragma once

#include <string>

// The ids by which the host connects events and objects with what the manifest declared.

namespace tavo::vms_server_plugins::analytics::orlix
{

inline constexpr char kTypeIdPrefix[] = "tavo.orlix.";

inline constexpr char kFpsEventType[] = "tavo.orlix.fps";
inline constexpr char kCountedEventType[] = "tavo.orlix.counted";
inline constexpr char kLoiterAlarmEventType[] = "tavo.orlix.loiter_alarm";
inline constexpr char kCategoryEventType[] = "tavo.orlix.category";
inline constexpr char kLineCrossingEventType[] = "tavo.orlix.linecrossing";
inline constexpr char kDumpingEventType[] = "tavo.orlix.dumping";
inline constexpr char kAnomalyObjectType[] = "tavo.orlix.anomaly";

// `text` with every character that an id cannot hold replaced by "_": the first may be a letter, a
// digit or "_", the others "." as well.
[[nodiscard]] std::string normaliseTypeIdPart(const std::string& text);

// The id of the objects of a class; the same in manifest and metadata.
[[nodiscard]] std::string objectTypeId(const std::string& className);

} // namespace tavo::vms_server_plugins::analytics::orlix
