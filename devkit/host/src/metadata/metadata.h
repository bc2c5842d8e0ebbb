#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <tavo/sdk/analytics/i_metadata_packet.h>
#include <tavo/sdk/analytics/rect.h>
#include <tavo/sdk/i_string.h>
#include <tavo/sdk/i_string_map.h>
#include <tavo/sdk/ptr.h>

// What the library hands over, as plain records. The readers below use every reference that they
// get from the library within their call.

namespace tavo::devkit
{

struct Attribute
{
    std::string name;
    std::string value;
};

struct DetectedObject
{
    std::string typeId;
    std::string trackId;
    float confidence = 0;
    sdk::analytics::Rect box; // fractions of the picture
    std::vector<Attribute> attributes;
};

struct DetectedEvent
{
    std::string typeId;
    std::string caption;
    std::string description;
    bool isActive = false;
    float confidence = 0;
};

struct Metadata
{
    enum class Kind
    {
        objects,
        events,
        other,
    };

    Kind kind = Kind::other;
    int64_t timestampUs = 0;
    int64_t durationUs = 0;
    std::vector<DetectedObject> objects;
    std::vector<DetectedEvent> events;
};

// The types that the host tells apart. All others are shown as they come.
inline constexpr char kPersonTypeId[] = "tavo.orlix.person";
inline constexpr char kFpsEventTypeId[] = "tavo.orlix.fps";
inline constexpr char kCountedEventTypeId[] = "tavo.orlix.counted";
inline constexpr char kLineCrossingEventTypeId[] = "tavo.orlix.linecrossing";

// The caller keeps its reference to the packet.
[[nodiscard]] Metadata readMetadata(sdk::analytics::IMetadataPacket* packet);

// Takes over the reference. Null, and a string whose text is null, read as empty.
[[nodiscard]] std::string takeText(const sdk::IString* string);

// Takes over the reference. Null reads as empty.
[[nodiscard]] std::map<std::string, std::string> takeMap(const sdk::IStringMap* map);

} // namespace tavo::devkit
