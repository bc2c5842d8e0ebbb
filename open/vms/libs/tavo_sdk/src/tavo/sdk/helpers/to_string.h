// Texts for the log: names of codes, and interfaces as indented JSON. Null pointers are allowed.
#pragma once

#include <string>

#include <tavo/sdk/analytics/i_device_info.h>
#include <tavo/sdk/analytics/i_event_metadata_packet.h>
#include <tavo/sdk/analytics/i_object_metadata_packet.h>
#include <tavo/sdk/i_attribute.h>
#include <tavo/sdk/i_integration_diagnostic_event.h>
#include <tavo/sdk/i_string_map.h>
#include <tavo/sdk/result.h>

namespace tavo::sdk
{

// One step of indentation.
inline constexpr const char* kIndent = "    ";

// The name as in ErrorCode, or "<unsupported Error>".
std::string toString(ErrorCode errorCode);

// "info", "warning", "error", or "unknown(%d)" with the value.
std::string toString(IIntegrationDiagnosticEvent::Level level);

// The lines behind the first begin with `indentCount` steps of indentation.
std::string toJsonString(const analytics::IDeviceInfo* deviceInfo, int indentCount = 0);
std::string toJsonString(const IStringMap* stringMap, int indentCount = 0);
std::string toJsonString(const IAttribute* attribute, int indentCount = 0);
std::string toJsonString(const IIntegrationDiagnosticEvent* event, int indentCount = 0);
std::string toJsonString(const analytics::IObjectMetadata* metadata, int indentCount = 0);
std::string toJsonString(const analytics::IEventMetadata* metadata, int indentCount = 0);
std::string toJsonString(const analytics::IObjectMetadataPacket* packet, int indentCount = 0);
std::string toJsonString(const analytics::IEventMetadataPacket* packet, int indentCount = 0);

} // namespace tavo::sdk
