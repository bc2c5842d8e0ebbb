#include "common/messages.h"

#include <string_view>

#include "utils/mpack_tree.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

namespace
{

// The words of the link between the two processes; the plugin never sees them.
constexpr char kEngineReady[] = "EngineReady";
constexpr char kTakeFrame[] = "TakeFrame";
constexpr char kFrameDone[] = "FrameDone";
constexpr char kForgetSegment[] = "ForgetSegment";

class MapReader
{
public:
    explicit MapReader(orlix::MessageTree& tree) :
        m_tree(tree)
    {}

    [[nodiscard]] bool isMap() { return mpack_node_type(m_tree.root()) == mpack_type_map; }
    [[nodiscard]] bool has(const char* key)
    {
        return mpack_node_map_contains_cstr(m_tree.root(), key);
    }
    [[nodiscard]] std::int64_t integer(const char* key) { return mpack_node_i64(value(key)); }
    [[nodiscard]] std::uint64_t count(const char* key) { return mpack_node_u64(value(key)); }
    [[nodiscard]] std::string text(const char* key)
    {
        const mpack_node_t node = value(key);
        const char* const data = mpack_node_str(node);
        return data ? std::string(data, mpack_node_strlen(node)) : std::string();
    }

private:
    mpack_node_t value(const char* key) { return mpack_node_map_cstr(m_tree.root(), key); }

    orlix::MessageTree& m_tree;
};

Message readMessage(MapReader& map)
{
    if (!map.isMap())
        return Unknown();
    if (map.has(protocol::key::kMessageType))
    {
        switch (protocol::MessageKind{map.integer(protocol::key::kMessageType)})
        {
            case protocol::MessageKind::input:
                return InputAnnouncement{
                    map.count(protocol::key::kInputIndex), map.count(protocol::key::kSize)};
            case protocol::MessageKind::command:
                return CommandMessage{protocol::Command{map.integer(protocol::key::kCommand)}};
        }
        return Unknown();
    }
    if (map.has(protocol::key::kStatus))
        return Completion();
    if (map.has(kEngineReady))
        return EngineReady{map.text(kEngineReady)};
    if (map.has(kTakeFrame))
        return TakeFrame{map.text(kTakeFrame)};
    if (map.has(kFrameDone))
        return FrameDone{map.text(kFrameDone)};
    if (map.has(kForgetSegment))
        return ForgetSegment{map.text(kForgetSegment)};
    return Unknown();
}

// Writes one flat map.
class MapWriter
{
public:
    explicit MapWriter(std::uint32_t count) { mpack_start_map(m_writer.writer(), count); }

    MapWriter& add(const char* key, std::string_view text)
    {
        mpack_write_cstr(m_writer.writer(), key);
        mpack_write_str(m_writer.writer(), text.data(), static_cast<std::uint32_t>(text.size()));
        return *this;
    }
    MapWriter& add(const char* key, std::uint64_t number)
    {
        mpack_write_cstr(m_writer.writer(), key);
        mpack_write_u64(m_writer.writer(), number);
        return *this;
    }
    std::vector<char> finish()
    {
        mpack_finish_map(m_writer.writer());
        if (m_writer.close() != mpack_ok)
            return {};
        const std::span<const char> bytes = m_writer.bytes();
        return {bytes.begin(), bytes.end()};
    }

private:
    orlix::MpackGrowableWriter m_writer;
};

} // namespace

Message decodeMessage(std::span<const char> body)
{
    thread_local orlix::MessageTree tree;
    tree.parse(body);
    MapReader map(tree);
    Message message = readMessage(map);
    return tree.finish() == mpack_ok ? message : Unknown();
}

std::vector<char> encode(const CommandMessage& message)
{
    return MapWriter(2)
        .add(protocol::key::kMessageType, std::uint64_t(protocol::MessageKind::command))
        .add(protocol::key::kCommand, std::uint64_t(message.command))
        .finish();
}

std::vector<char> encode(const EngineReady& message)
{
    return MapWriter(1).add(kEngineReady, message.token).finish();
}

std::vector<char> encode(const TakeFrame& message)
{
    return MapWriter(1).add(kTakeFrame, message.segment).finish();
}

std::vector<char> encode(const FrameDone& message)
{
    return MapWriter(1).add(kFrameDone, message.segment).finish();
}

std::vector<char> encode(const ForgetSegment& message)
{
    return MapWriter(1).add(kForgetSegment, message.segment).finish();
}

std::vector<char> encode(const InputReply& message)
{
    const bool closes = !message.close.empty();
    const bool names = !message.segment.empty();
    MapWriter map(std::uint32_t(closes) + std::uint32_t(names));
    if (closes)
        map.add(protocol::key::kCloseSegment, message.close);
    if (names)
        map.add(protocol::key::kSegment, message.segment);
    return map.finish();
}

} // namespace tavo::devkit
