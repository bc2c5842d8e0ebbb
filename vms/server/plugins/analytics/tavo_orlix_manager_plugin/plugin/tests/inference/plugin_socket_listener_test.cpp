#include "inference/plugin_socket_listener.h"

#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "inference/protocol.h"
#include "temporary_folder.h"
#include "utils/mutex.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using namespace std::string_literals;
using testing::ElementsAre, testing::Pair;

// Index and timestamp.
using Results = std::vector<std::pair<std::uint32_t, std::uint64_t>>;

// Has two cameras, 0 and 7, and keeps what comes for them; those of 8 and 9 throw.
class Receiver final : public ResultReceiver
{
public:
    bool deliverResult(std::uint32_t inputIndex, mpack_node_t root) override
    {
        if (inputIndex == 8)
            throw std::runtime_error("of a camera");
        if (inputIndex == 9)
            throw 9; // as a host's own code may
        if (inputIndex != 0 && inputIndex != 7)
            return false;
        const std::uint64_t timestamp =
            mpack_node_u64(mpack_node_map_cstr(root, protocol::key::kTimestamp));
        const MutexLock lock(m_mutex);
        m_results.emplace_back(inputIndex, timestamp);
        return true;
    }

    Results results() const
    {
        const MutexLock lock(m_mutex);
        return m_results;
    }

private:
    mutable Mutex m_mutex;
    Results m_results GUARDED_BY(m_mutex);
};

// A result for the camera of that index, as MessagePack has it.
std::string result(const std::string& index, char timestamp = 1)
{
    return "\x82\xaaInputIndex" + index + "\xa9Timestamp" + timestamp;
}

class PluginSocketListenerTest : public testing::Test
{
protected:
    ~PluginSocketListenerTest() override
    {
        m_shuttingDown.request_stop();
        const SocketHandle socket = m_listeningSocket.exchange(kInvalidSocket);
        socket_shutdown(socket);
        m_listener.join();
        socket_close(socket);
        EXPECT_FALSE(m_folder.has(protocol::kPluginSocketFile)) << "left behind";
    }

    void startListener()
    {
        m_listener = std::thread(
            [this]
            { listenerLoop(m_path, m_listeningSocket, m_shuttingDown.get_token(), receiver); });
        ASSERT_TRUE(test::comesTrue([this] { return m_listeningSocket != kInvalidSocket; }));
    }

    // As the application does; an empty message is a connection without one.
    void send(const std::string& message)
    {
        const SocketHandle connection = socket_connect(m_path);
        ASSERT_NE(kInvalidSocket, connection);
        if (!message.empty())
        {
            EXPECT_TRUE(socket_send_message(
                connection, message.data(), static_cast<std::uint32_t>(message.size())));
        }
        socket_close(connection);
    }

    bool comesIntoLog(const std::string& line)
    {
        return test::comesTrue([&] { return log.text().find(line) != std::string::npos; });
    }

    bool come(std::size_t results)
    {
        return test::comesTrue([=, this] { return receiver.results().size() == results; });
    }

    const TemporaryFolder m_folder;
    const std::string m_path = m_folder.path(protocol::kPluginSocketFile);
    test::CapturedLog log;
    Receiver receiver;

private:
    std::atomic<SocketHandle> m_listeningSocket{kInvalidSocket};
    std::stop_source m_shuttingDown;
    std::thread m_listener;
};

TEST_F(PluginSocketListenerTest, WhateverIsThrownCostsOneResult)
{
    startListener();
    send(result("\x08"));
    EXPECT_TRUE(comesIntoLog("Error in listenerLoop: of a camera\n"));
    send(result("\x09"));
    EXPECT_TRUE(comesIntoLog("Unknown error in listenerLoop\n"));
    send(result("\0"s));
    EXPECT_TRUE(come(1));
    EXPECT_THAT(receiver.results(), ElementsAre(Pair(0, 1)));
}

// What no application sends. It costs one message each, and reads as one for camera 0 without a
// timestamp.
TEST_F(PluginSocketListenerTest, SurvivesBrokenMessages)
{
    startListener();
    const std::string whole = result("\0"s);
    std::string wide("\x82\xaaInputIndex\x00\xa9Timestamp\xdd\x00\x40\x00\x00", 28);
    wide.append(0x400000, '\x01');
    const struct
    {
        const char* name;
        std::string message;
    } kCases[] = {
        {"no index", "\x81\xa9Timestamp\x01"s},
        {"an index beyond 32 bits", result("\xcf\0\0\0\1\0\0\0\0"s)},
        {"an index that is a text", result("\xa1"s + "0")},
        {"no map", std::string("\x01", 1)},
        {"cut", whole.substr(0, whole.size() - 1)},
        {"deep without an end", std::string(1'000'000, '\x91')},
        {"more values than it has bytes", std::string("\xdf\xff\xff\xff\xff\x01", 6)},
        {"more values than a message may have", wide}};
    std::size_t seen = 0;
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        send(c.message);
        ASSERT_TRUE(come(++seen));
        EXPECT_THAT(receiver.results().back(), Pair(0, 0));
    }
    send(whole);
    EXPECT_TRUE(test::comesTrue([&] { return receiver.results().back().second == 1; }));
}

TEST_F(PluginSocketListenerTest, ASilentConnectionRepeatsTheMessageBefore)
{
    m_folder.write(protocol::kPluginSocketFile, "of an earlier run");
    startListener();
    send(""); // the first ever: there is nothing to repeat
    EXPECT_TRUE(comesIntoLog("Warning: An error occurred decoding the data!\n"));
    ASSERT_THAT(receiver.results(), ElementsAre(Pair(0, 0)));

    send(result("\x07"s, 5));
    send("");
    EXPECT_TRUE(come(3));
    EXPECT_THAT(receiver.results(), ElementsAre(Pair(0, 0), Pair(7, 5), Pair(7, 5)));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
