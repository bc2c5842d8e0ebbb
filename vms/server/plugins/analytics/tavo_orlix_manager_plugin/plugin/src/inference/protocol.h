#pragma once

#include <cstddef>
#include <cstdint>

// The words of the wire protocol between the plugin and the manager application: file names, keys,
// values and bounds, for both sides of it. docs/protocol.md tells how they are used.

namespace tavo::vms_server_plugins::analytics::orlix::protocol
{

// Both sockets lie in the system's temporary directory.
inline constexpr char kModuleSocketFile[] = "orlix_manager.sock"; // the application listens
inline constexpr char kPluginSocketFile[] = "orlix_plugin.sock"; // the plugin listens

// Arguments of the application's command line, each followed by its value.
inline constexpr char kModuleSocketArgument[] = "-i";
inline constexpr char kPluginSocketArgument[] = "-o";
inline constexpr char kLogToFileArgument[] = "-l"; // "0" or "1"
inline constexpr char kVerbosityArgument[] = "-v"; // "0", "1" or "2"

// What "messageType" says.
enum class MessageKind : std::int64_t
{
    input = 0, // announcement and input message
    command = 1,
};

enum class Command : std::int64_t
{
    stop = 0, // the application is to shut down
    referenceRun = 1,
};

// The one value of a completion message's status.
inline constexpr std::int64_t kStatusDone = 0;

// Input images are RGB, 8 bits a channel.
inline constexpr std::uint32_t kChannels = 3;

// A box is four 32-bit floats of the machine's order: x1, y1, x2, y2.
inline constexpr std::size_t kBoxBytes = 4 * sizeof(float);

// An object's id, a UUID.
inline constexpr std::size_t kObjectIdBytes = 16;

// Names of segments, of classes and their like, without a terminator.
inline constexpr std::size_t kMaxNameBytes = 1023;

namespace key
{
// Any message to the application.
inline constexpr char kMessageType[] = "messageType";
inline constexpr char kCommand[] = "Command";

// Input announcement, reply and completion message.
inline constexpr char kInputIndex[] = "InputIndex"; // in input and result messages too
inline constexpr char kSize[] = "Size";
inline constexpr char kCloseSegment[] = "Close_SHMKEY";
inline constexpr char kSegment[] = "SHMKEY";
inline constexpr char kStatus[] = "Status";

// Input message, in its order.
inline constexpr char kImageData[] = "ImageData";
inline constexpr char kPipelines[] = "Pipelines";
inline constexpr char kWidth[] = "Width"; // in result messages too
inline constexpr char kHeight[] = "Height"; // in result messages too
inline constexpr char kChannels[] = "Channels";
inline constexpr char kDeviceId[] = "DeviceID";
inline constexpr char kDeviceName[] = "DeviceName";
inline constexpr char kTimestamp[] = "Timestamp"; // in result messages too
inline constexpr char kMasks[] = "Masks";
inline constexpr char kMaskType[] = "MaskType";
inline constexpr char kLineCrossingSettings[] = "LineCrossingSettings";
inline constexpr char kLineCoordinates[] = "LineCoordinates";
inline constexpr char kDumpingDetectionSettings[] = "DumpingDetectionSettings";
inline constexpr char kLoiteringDetectionSettings[] = "LoiteringDetectionSettings";
inline constexpr char kObjectClass[] = "ObjectClass";
inline constexpr char kTimeThreshold[] = "TimeThreshold"; // ms for dumping, us for loitering
inline constexpr char kExternalProcessorSettings[] = "ExternalProcessorSettings";

// Result message.
inline constexpr char kBoxes[] = "BBoxes_xyxy";
inline constexpr char kObjectsMetaData[] = "ObjectsMetaData";
inline constexpr char kObjectIds[] = "ObjectIDs";
inline constexpr char kAttributeKeys[] = "AttributeKeys";
inline constexpr char kAttributeValues[] = "AttributeValues";
inline constexpr char kCounts[] = "Counts";
inline constexpr char kScores[] = "Scores";
inline constexpr char kEvents[] = "Events";
inline constexpr char kEventId[] = "ID";
inline constexpr char kEventCaption[] = "Caption";
inline constexpr char kEventDescription[] = "Description";
} // namespace key

} // namespace tavo::vms_server_plugins::analytics::orlix::protocol
