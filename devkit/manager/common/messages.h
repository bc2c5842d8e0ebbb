#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "inference/protocol.h"

namespace tavo::devkit
{

namespace protocol = vms_server_plugins::analytics::orlix::protocol;

// The small messages of the application: those that the plugin sends to the module socket, and
// those between the application's own two processes. Each is one MessagePack map in a frame record.
// The engine's process connects to the module socket like any sender, says EngineReady, and keeps
// that connection: it is the link between the two.

// A body beyond this is nobody's message.
inline constexpr std::size_t kMaxMessageBytes = 64 * 1024;

// Plugin: a frame of `size` bytes is to be taken.
struct InputAnnouncement
{
    std::uint64_t inputIndex = 0;
    std::uint64_t size = 0;
};

// Plugin: the frame is in its segment.
struct Completion
{};

// Plugin, and handed on to the engine: stop, or take what is seen now as the reference.
struct CommandMessage
{
    protocol::Command command = protocol::Command::stop;
};

// Engine: its models are loaded, and frames may come. `token` is what it was started with.
struct EngineReady
{
    std::string token;
};

// To the engine: work on the frame in this segment.
struct TakeFrame
{
    std::string segment;
};

// Engine: the segment is no longer read.
struct FrameDone
{
    std::string segment;
};

// To the engine: the segment is going away.
struct ForgetSegment
{
    std::string segment;
};

// Nothing of the above.
struct Unknown
{};

using Message = std::variant<
    Unknown, InputAnnouncement, Completion, CommandMessage, EngineReady, TakeFrame, FrameDone,
    ForgetSegment>;

// Reads the body of a frame record. Whatever is wrong with it makes it Unknown.
[[nodiscard]] Message decodeMessage(std::span<const char> body);

[[nodiscard]] std::vector<char> encode(const CommandMessage& message);
[[nodiscard]] std::vector<char> encode(const EngineReady& message);
[[nodiscard]] std::vector<char> encode(const TakeFrame& message);
[[nodiscard]] std::vector<char> encode(const FrameDone& message);
[[nodiscard]] std::vector<char> encode(const ForgetSegment& message);

// The answer to an announcement. An empty name is left out; with neither, the frame is not wanted.
struct InputReply
{
    std::string close; // segment that the sender must detach
    std::string segment; // segment to write the frame to
};
[[nodiscard]] std::vector<char> encode(const InputReply& message);

} // namespace tavo::devkit
