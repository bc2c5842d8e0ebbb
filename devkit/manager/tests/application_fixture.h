#pragma once

#include <cstring>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <testing/comes_true.h>
#include <testing/programs.h>

#include "inference/input_message.h"
#include "inference/orlix_manager_interface.h"
#include "inference/plugin_socket_listener.h"
#include "segment_exists.h"
#include "temporary_folder.h"
#include "test_picture.h"
#include "utils/json_mpack.h"
#include "utils/platform_names.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;

using test_support::comesTrue;

// What tests look at of a result, whose one class is "mover".
struct ReceivedResult
{
    std::uint64_t inputIndex = 0;
    std::uint64_t timestampUs = 0;
    int width = 0;
    std::vector<Box> movers;
    std::uint64_t count = 0;
    std::size_t idCount = 0;
};

// The real programs, installed in a folder of their own, and this test as the plugin, by the
// plugin's own code.
class ApplicationTest : public testing::Test, orlix::ResultReceiver
{
protected:
    ApplicationTest()
    {
        m_folder.write("app/etc/settings.json", R"([{"UUID":"model","Name":"motion",
            "Filepath":"/unused","NamedOutput":[{"Name":"bboxes-format:xyxy;0:mover"}]}])");
        std::filesystem::copy(
            TAVO_APPLICATION_DIR "/bin", m_folder.path("app/bin"),
            std::filesystem::copy_options::recursive);
    }
    ~ApplicationTest() override { orlix::socket_close(m_listening); }

    void start()
    {
        m_process = orlix::process_start(
            {m_folder.path("app/bin/") + orlix::kManagerExecutable, "-i", m_moduleSocket, "-o",
             m_pluginSocket, "-l", "1", "-v", "2"},
            /*console*/ false, &m_errorPipe);
    }

    // The exit code.
    [[nodiscard]] int waitForEnd() { return static_cast<int>(orlix::process_wait(m_process, 30)); }

    [[nodiscard]] std::string errorText()
    {
        return orlix::pipe_read_text(m_errorPipe).value_or("");
    }

    // The ids of this installation's running programs of that name.
    [[nodiscard]] std::vector<std::uint32_t> pidsOf(const std::string& program) const
    {
        return test_support::runningPrograms(
            m_folder.path("app/bin/") + test_support::programFile(program));
    }

    // Hands the frame over, again while the application is not ready, and waits for what comes.
    [[nodiscard]] std::optional<ReceivedResult> resultOf(
        std::uint64_t inputIndex, std::uint64_t timestampUs, const TestPicture& scene)
    {
        const auto [pixels, size] = scene.image();
        const auto lineSize = static_cast<std::uint32_t>(size.width) * 3;
        const auto pipelines = orlix::parseJson(
            R"([{"modelUUID":"model","modelNMS":0.5,"Postprocessor":"Object Counting"}])");
        const auto tree = orlix::json_to_mpack_tree(yyjson_doc_get_root(pipelines.get()));
        orlix::MessageBuffer message;
        EXPECT_TRUE(orlix::createInputMessage(
            {pixels, lineSize, lineSize / 3, static_cast<std::uint32_t>(size.height)},
            {timestampUs, inputIndex, m_camera, m_camera}, {}, tree->bytes(), message));
        EXPECT_TRUE(comesTrue([&] { return m_manager.sendInput(message, inputIndex); }));
        m_result.reset();
        (void)comesTrue([this] { return takeResult(); });
        std::istringstream recorded(m_folder.read("app/etc/brunmod_segments.txt"));
        for (std::string name; std::getline(recorded, name);)
            m_segments.insert(name);
        return m_result;
    }

    void expectStops()
    {
        m_manager.sendStop();
        EXPECT_EQ(waitForEnd(), 0);
        expectNothingLeft();
    }

    void expectNothingLeft() const
    {
        EXPECT_TRUE(comesTrue([&] { return pidsOf("brund").empty(); }));
        EXPECT_TRUE(pidsOf("brunmod").empty());
        EXPECT_FALSE(m_folder.has(orlix::protocol::kModuleSocketFile));
        for (const std::string& name : m_segments)
            EXPECT_FALSE(segmentExists(name)) << name;
    }

    bool takeResult()
    {
        const orlix::SocketHandle socket =
            orlix::socket_accept_message(m_listening, m_buffer, orlix::MessagePlace::sole);
        if (socket == orlix::kInvalidSocket)
            return false;
        orlix::socket_close(socket);
        orlix::MessageTree tree;
        orlix::handleSocketMessage(*this, m_buffer.message(), tree);
        return m_result.has_value();
    }

    // ResultReceiver:
    bool deliverResult(std::uint32_t inputIndex, mpack_node_t root) override
    {
        namespace key = orlix::protocol::key;
        const auto at = [](mpack_node_t map, const char* name)
        { return mpack_node_is_missing(map) ? map : mpack_node_map_cstr_optional(map, name); };
        ReceivedResult& result = m_result.emplace();
        result.inputIndex = inputIndex;
        result.timestampUs = mpack_node_u64(at(root, key::kTimestamp));
        result.width = mpack_node_int(at(root, key::kWidth));
        const mpack_node_t boxes = at(at(root, key::kBoxes), "mover");
        const std::size_t size = mpack_node_is_missing(boxes) ? 0 : mpack_node_bin_size(boxes);
        for (std::size_t offset = 0; offset + orlix::protocol::kBoxBytes <= size;
             offset += orlix::protocol::kBoxBytes)
        {
            float corners[4];
            std::memcpy(corners, mpack_node_bin_data(boxes) + offset, sizeof corners);
            result.movers.push_back(
                Box::between({corners[0], corners[1]}, {corners[2], corners[3]}));
        }
        const mpack_node_t count = at(at(root, key::kCounts), "mover");
        result.count = mpack_node_is_missing(count) ? 0 : mpack_node_u64(count);
        const mpack_node_t ids = at(at(at(root, key::kObjectsMetaData), "mover"), key::kObjectIds);
        const std::size_t idCount = mpack_node_is_missing(ids) ? 0 : mpack_node_array_length(ids);
        for (std::size_t i = 0; i < idCount; ++i)
            result.idCount += mpack_node_bin_size(mpack_node_array_at(ids, i)) == 16;
        return true;
    }

    const orlix::TemporaryFolder m_folder;
    const orlix::ScopedTempPath m_temporaryFolder{m_folder.path()};
    const std::string m_moduleSocket = m_folder.path(orlix::protocol::kModuleSocketFile);
    const std::string m_pluginSocket = m_folder.path(orlix::protocol::kPluginSocketFile);
    const std::string m_camera = "camera";
    const orlix::SocketHandle m_listening = orlix::socket_listen(m_pluginSocket);
    orlix::ReceiveBuffer m_buffer;
    std::optional<ReceivedResult> m_result;
    std::set<std::string> m_segments; // that frames went through
    orlix::PipeEnd m_errorPipe;
    orlix::ProcessRecord m_process;
    orlix::MessageBoard m_board;
    orlix::OrlixManagerInterface m_manager{m_folder.path(), &m_board};
};

} // namespace tavo::devkit
