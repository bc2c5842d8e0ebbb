#include "application_test_support.h"

#include <cstring>
#include <filesystem>
#include <thread>

#include <testing/programs.h>
#include <testing/test_program.h>

#include "inference/protocol.h"
#include "utils/mpack_tree.h"
#include "utils/platform_names.h"

namespace tavo::devkit
{
namespace
{

namespace key = orlix::protocol::key;

std::vector<char> closed(orlix::MpackGrowableWriter& writer)
{
    writer.close();
    return {writer.bytes().begin(), writer.bytes().end()};
}

std::vector<char> inputMessage(
    std::uint64_t index, std::uint64_t timestampUs, const TestPicture& picture)
{
    orlix::MpackGrowableWriter growable;
    mpack_writer_t* const w = growable.writer();
    mpack_start_map(w, 10);
    mpack_write_cstr(w, key::kImageData);
    mpack_write_bin(
        w, reinterpret_cast<const char*>(picture.pixels().data()),
        static_cast<std::uint32_t>(picture.pixels().size()));
    mpack_write_cstr(w, key::kPipelines);
    mpack_start_array(w, 1);
    mpack_start_map(w, 3);
    mpack_write_cstr(w, "modelUUID");
    mpack_write_cstr(w, "model");
    mpack_write_cstr(w, "modelNMS");
    mpack_write_double(w, 0.5);
    mpack_write_cstr(w, "Postprocessor");
    mpack_write_cstr(w, "Object Counting");
    mpack_finish_map(w);
    mpack_finish_array(w);
    const std::pair<const char*, std::uint64_t> kNumbers[] = {
        {key::kWidth, std::uint64_t(picture.image().size.width)},
        {key::kHeight, std::uint64_t(picture.image().size.height)},
        {key::kChannels, 3},
        {key::kMessageType, 0},
        {key::kInputIndex, index},
        {key::kTimestamp, timestampUs}};
    for (const auto& [name, number] : kNumbers)
    {
        mpack_write_cstr(w, name);
        mpack_write_u64(w, number);
    }
    for (const char* const name : {key::kDeviceId, key::kDeviceName})
    {
        mpack_write_cstr(w, name);
        mpack_write_cstr(w, "camera");
    }
    mpack_finish_map(w);
    return closed(growable);
}

std::vector<char> map(const std::vector<std::pair<const char*, std::uint64_t>>& entries)
{
    orlix::MpackGrowableWriter growable;
    mpack_start_map(growable.writer(), static_cast<std::uint32_t>(entries.size()));
    for (const auto& [name, number] : entries)
    {
        mpack_write_cstr(growable.writer(), name);
        mpack_write_u64(growable.writer(), number);
    }
    mpack_finish_map(growable.writer());
    return closed(growable);
}

void send(orlix::SocketHandle socket, const std::vector<char>& message)
{
    orlix::socket_send_message(socket, message.data(), static_cast<std::uint32_t>(message.size()));
}

std::string text(mpack_node_t node)
{
    return {mpack_node_str(node), mpack_node_strlen(node)};
}

// The entries of a map that may be missing.
std::size_t countOf(mpack_node_t map)
{
    return mpack_node_is_missing(map) ? 0 : mpack_node_map_count(map);
}

ReceivedResult decode(mpack_node_t root)
{
    ReceivedResult result;
    result.inputIndex = mpack_node_u64(mpack_node_map_cstr(root, key::kInputIndex));
    result.timestampUs = mpack_node_u64(mpack_node_map_cstr(root, key::kTimestamp));
    result.width = mpack_node_int(mpack_node_map_cstr(root, key::kWidth));
    const mpack_node_t boxes = mpack_node_map_cstr_optional(root, key::kBoxes);
    for (std::size_t i = 0; i < countOf(boxes); ++i)
    {
        const mpack_node_t bin = mpack_node_map_value_at(boxes, i);
        auto& list = result.boxes[text(mpack_node_map_key_at(boxes, i))];
        for (std::size_t at = 0; at + 16 <= mpack_node_bin_size(bin); at += 16)
        {
            float corners[4];
            std::memcpy(corners, mpack_node_bin_data(bin) + at, sizeof corners);
            list.push_back(Box::between({corners[0], corners[1]}, {corners[2], corners[3]}));
        }
    }
    const mpack_node_t counts = mpack_node_map_cstr_optional(root, key::kCounts);
    for (std::size_t i = 0; i < countOf(counts); ++i)
    {
        result.counts[text(mpack_node_map_key_at(counts, i))] =
            mpack_node_u64(mpack_node_map_value_at(counts, i));
    }
    const mpack_node_t meta = mpack_node_map_cstr_optional(root, key::kObjectsMetaData);
    for (std::size_t i = 0; i < countOf(meta); ++i)
    {
        const mpack_node_t ids =
            mpack_node_map_cstr(mpack_node_map_value_at(meta, i), key::kObjectIds);
        for (std::size_t j = 0; j < mpack_node_array_length(ids); ++j)
            result.idCount += mpack_node_bin_size(mpack_node_array_at(ids, j)) == 16;
    }
    return result;
}

} // namespace

bool comesTrue(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

InstalledApplication::InstalledApplication(const std::string& settings)
{
    m_folder.write("app/etc/settings.json", settings);
    std::filesystem::copy(
        TAVO_APPLICATION_DIR "/bin", m_folder.path("app/bin"),
        std::filesystem::copy_options::recursive);
}

void InstalledApplication::start()
{
    m_process = orlix::process_start(
        {m_folder.path("app/bin/") + orlix::kManagerExecutable, "-i", moduleSocket(), "-o",
         pluginSocket(), "-l", "1", "-v", "2"},
        /*console*/ false, &m_errorPipe);
}

int InstalledApplication::waitForEnd()
{
    return static_cast<int>(orlix::process_wait(m_process, 30));
}

std::vector<std::uint32_t> InstalledApplication::pidsOf(const std::string& program) const
{
    return test_support::runningPrograms(
        m_folder.path("app/bin/") + test_support::programFile(program));
}

std::string InstalledApplication::errorText()
{
    return orlix::pipe_read_text(m_errorPipe).value_or("");
}

PluginSide::PluginSide(const InstalledApplication& application) :
    m_moduleSocket(application.moduleSocket()),
    m_pluginSocket(application.pluginSocket()),
    m_listening(orlix::socket_listen(m_pluginSocket))
{}

PluginSide::~PluginSide()
{
    orlix::socket_close(m_listening);
}

bool PluginSide::sendFrame(
    std::uint64_t index, std::uint64_t timestampUs, const TestPicture& picture)
{
    const std::vector<char> message = inputMessage(index, timestampUs, picture);
    const orlix::SocketHandle socket = orlix::socket_connect(m_moduleSocket);
    if (socket == orlix::kInvalidSocket)
        return false;
    send(
        socket,
        map({{key::kMessageType, 0}, {key::kInputIndex, index}, {key::kSize, message.size()}}));
    orlix::ReceiveBuffer buffer;
    orlix::socket_receive_message(socket, buffer);
    orlix::MessageTree reply;
    reply.parse(buffer.message());
    const mpack_node_t close = mpack_node_map_cstr_optional(reply.root(), key::kCloseSegment);
    if (!mpack_node_is_missing(close))
        m_segments.erase(text(close));
    const mpack_node_t name = mpack_node_map_cstr_optional(reply.root(), key::kSegment);
    bool isWritten = false;
    if (reply.error() == mpack_ok && !mpack_node_is_missing(name))
    {
        orlix::ShmView* const view = attach(text(name));
        isWritten = view &&
            orlix::shm_write_attached(
                        *view, message.data(), static_cast<std::uint32_t>(message.size()));
        if (isWritten)
            send(socket, map({{key::kStatus, 0}}));
    }
    orlix::socket_close(socket);
    return isWritten;
}

bool PluginSide::sendFrameOnceReady(
    std::uint64_t index, std::uint64_t timestampUs, const TestPicture& picture)
{
    return comesTrue([&] { return sendFrame(index, timestampUs, picture); });
}

void PluginSide::sendCommand(int command)
{
    const std::vector<char> message =
        map({{key::kMessageType, 1}, {key::kCommand, std::uint64_t(command)}});
    orlix::socket_send_once(
        m_moduleSocket, message.data(), static_cast<std::uint32_t>(message.size()));
}

std::optional<ReceivedResult> PluginSide::nextResult()
{
    std::optional<ReceivedResult> result;
    (void)comesTrue(
        [&]
        {
            const orlix::SocketHandle socket = orlix::socket_accept_message(m_listening, m_results);
            if (socket == orlix::kInvalidSocket)
                return false;
            orlix::socket_close(socket);
            orlix::MessageTree tree;
            tree.parse(m_results.message());
            result = decode(tree.root());
            return tree.finish() == mpack_ok;
        });
    return result;
}

orlix::ShmView* PluginSide::attach(const std::string& name)
{
    const auto known = m_segments.find(name);
    if (known != m_segments.end())
        return &known->second;
    orlix::ShmSegment segment;
    orlix::shm_from_name(segment, name);
    if (!orlix::shm_open(segment))
        return nullptr;
    orlix::ShmView view = orlix::shm_attach(segment);
    orlix::shm_close(segment);
    return &m_segments.emplace(name, std::move(view)).first->second;
}

} // namespace tavo::devkit
