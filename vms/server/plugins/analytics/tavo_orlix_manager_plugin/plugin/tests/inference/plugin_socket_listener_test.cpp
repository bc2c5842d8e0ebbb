#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavo/sdk/analytics/i_device_info.h>
#include <tavo/sdk/helpers/ref_countable.h>

#include "core/engine.h"
#include "core/ini.h"
#include "core/plugin.h"
#include "inference/protocol.h"
#include "manager_fixture.h"
#include "utils/mpack_tree.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

namespace key = protocol::key;

class FakeDevice : public sdk::RefCountable<sdk::analytics::IDeviceInfo>
{
public:
    const char* id() const override { return "00010203-0405-0607-0809-0a0b0c0d0e0f"; }
    const char* vendor() const override { return ""; }
    const char* model() const override { return ""; }
    const char* firmware() const override { return ""; }
    const char* name() const override { return "Gate"; }
    const char* url() const override { return ""; }
    const char* login() const override { return ""; }
    const char* password() const override { return ""; }
    std::int32_t channelNumber() const override { return 0; }
    const char* sharedId() const override { return ""; }
    const char* logicalId() const override { return ""; }
};

class CountingHandler : public sdk::RefCountable<sdk::analytics::IDeviceAgent::IHandler>
{
public:
    void handleMetadata(sdk::analytics::IMetadataPacket* packet) override
    {
        const sdk::Ptr<sdk::analytics::IMetadataPacket> owned(packet);
        ++packets;
    }
    void handleIntegrationDiagnosticEvent(sdk::IIntegrationDiagnosticEvent*) override {}
    void pushManifest(const sdk::IString*) override {}

    std::atomic<int> packets{0};
};

// A map whose values are written by their own hand.
std::string encoded(
    std::initializer_list<std::pair<const char*, std::function<void(mpack_writer_t*)>>> entries)
{
    MpackGrowableWriter writer;
    mpack_start_map(writer.writer(), static_cast<std::uint32_t>(entries.size()));
    for (const auto& [name, write] : entries)
    {
        mpack_write_cstr(writer.writer(), name);
        write(writer.writer());
    }
    mpack_finish_map(writer.writer());
    EXPECT_EQ(mpack_ok, writer.close());
    return {writer.bytes().data(), writer.bytes().size()};
}

std::function<void(mpack_writer_t*)> number(std::uint64_t value)
{
    return [value](mpack_writer_t* writer) { mpack_write_u64(writer, value); };
}

std::string result(std::uint64_t index)
{
    return encoded({{key::kInputIndex, number(index)}, {key::kTimestamp, number(1'000'000)}});
}

// A real engine that the host gives no provider, so that its loop has nothing to do.
class PluginSocketListenerTest : public testing::Test
{
protected:
    PluginSocketListenerTest() { ini().logVerbosityLevel = 2; }
    ~PluginSocketListenerTest() override
    {
        agent.reset();
        engine.reset();
        ini().logVerbosityLevel = 1;
    }

    void startEngine() { engine = sdk::makePtr<Engine>(plugin.get(), folder.path()); }

    void startAgent()
    {
        const auto device = sdk::makePtr<FakeDevice>();
        const auto obtained = engine->doObtainDeviceAgent(device.get());
        ASSERT_TRUE(obtained.isOk());
        agent = sdk::Ptr<sdk::analytics::IDeviceAgent>(obtained.value);
        agent->setHandler(handler.get());
    }

    // As the application does, and again while the listener is not there yet.
    void send(const std::string& message)
    {
        SocketHandle connection = kInvalidSocket;
        ASSERT_TRUE(test::comesTrue(
            [&]()
            {
                return std::filesystem::exists(socketPath) &&
                    (connection = socket_connect(socketPath)) != kInvalidSocket;
            }));
        if (!message.empty())
        {
            EXPECT_TRUE(socket_send_message(
                connection, message.data(), static_cast<std::uint32_t>(message.size())));
        }
        socket_close(connection);
    }

    // All that the log has from `line` on, once it is there.
    std::string logFrom(const std::string& line, std::size_t start = 0)
    {
        std::string text;
        test::comesTrue(
            [&]() {
                return (text = folder.read("orlix_plugin_start.log")).find(line, start) !=
                    std::string::npos;
            });
        const std::size_t at = text.find(line, start);
        return at == std::string::npos ? "" : text.substr(at);
    }

    bool comesIntoLog(const std::string& line) { return !logFrom(line).empty(); }

    TemporaryFolder folder;
    test::ScopedTemporaryDirectory temporaryDirectory{folder.path()};
    const std::string socketPath = folder.path(protocol::kPluginSocketFile);
    const sdk::Ptr<Plugin> plugin = sdk::makePtr<Plugin>();
    const sdk::Ptr<CountingHandler> handler = sdk::makePtr<CountingHandler>();
    sdk::Ptr<Engine> engine;
    sdk::Ptr<sdk::analytics::IDeviceAgent> agent;
};

constexpr char kNotFound[] = "Device agent not found\n";
constexpr char kEncoding[] = "Warning: An error occurred encoding the data!\n";
constexpr char kDecoding[] = "Warning: An error occurred decoding the data!\n";
constexpr char kTimestampZero[] = "Warning: Timestamp of 0 received. Ignoring input message.";

TEST_F(PluginSocketListenerTest, HandsResultsToTheirAgent)
{
    startEngine();
    startAgent();
    send(result(0));
    EXPECT_TRUE(test::comesTrue([&]() { return handler->packets == 1; }));
    send(result(0));
    EXPECT_TRUE(test::comesTrue([&]() { return handler->packets == 2; }));
    const std::string log = folder.read("orlix_plugin_start.log");
    EXPECT_EQ(std::string::npos, log.find(kDecoding));
}

TEST_F(PluginSocketListenerTest, DropsResultsOfNobody)
{
    startEngine();
    send(result(5));
    EXPECT_TRUE(comesIntoLog(kNotFound));
    EXPECT_EQ(std::string::npos, logFrom(kNotFound).find(kEncoding));
    send(encoded({{key::kTimestamp, number(1)}}));
    EXPECT_TRUE(comesIntoLog(kEncoding)); // without an index the tree is in error
}

// What no application sends. It costs one message each, and reads as one for agent 0 without a
// timestamp.
TEST_F(PluginSocketListenerTest, SurvivesBrokenMessages)
{
    startEngine();
    startAgent();
    const std::string whole = result(0);
    std::string wide("\x82\xaaInputIndex\x00\xa9Timestamp\xdd\x00\x40\x00\x00", 28);
    wide.append(0x400000, '\x01');
    const struct
    {
        const char* name;
        std::string message;
    } kCases[] = {
        {"no index", encoded({{key::kTimestamp, number(1)}})},
        {"an index beyond 32 bits", result(std::uint64_t{1} << 32)},
        {"an index that is a text",
         encoded(
             {{key::kInputIndex, [](auto* writer) { mpack_write_cstr(writer, "0"); }},
              {key::kTimestamp, number(1)}})},
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
        const std::string lines = logFrom(kDecoding, seen);
        ASSERT_FALSE(lines.empty());
        const std::string log = folder.read("orlix_plugin_start.log");
        EXPECT_NE(std::string::npos, log.find(kTimestampZero, seen));
        seen = log.size();
    }
    EXPECT_EQ(0, handler->packets);
    send(whole);
    EXPECT_TRUE(test::comesTrue([&]() { return handler->packets == 1; }));
}

TEST_F(PluginSocketListenerTest, ASilentConnectionRepeatsTheMessageBefore)
{
    startEngine();
    send(""); // the first ever: there is nothing to repeat
    EXPECT_TRUE(comesIntoLog(kNotFound));
    EXPECT_TRUE(comesIntoLog(kEncoding));

    startAgent();
    send(result(0));
    ASSERT_TRUE(test::comesTrue([&]() { return handler->packets == 1; }));
    send("");
    EXPECT_TRUE(test::comesTrue([&]() { return handler->packets == 2; }));
}

TEST_F(PluginSocketListenerTest, EndsWithItsEngine)
{
    folder.write(protocol::kPluginSocketFile, "of an earlier run");
    startEngine();
    send(result(3));
    ASSERT_TRUE(comesIntoLog(kNotFound));
    engine.reset();
    EXPECT_FALSE(std::filesystem::exists(socketPath));
    EXPECT_TRUE(comesIntoLog("Socket listener succesfully finished.\n"));
}

TEST_F(PluginSocketListenerTest, AnEngineLivesWithoutResults)
{
    folder.write(std::string(protocol::kPluginSocketFile) + "/in_the_way", "");
    startEngine();
    EXPECT_TRUE(comesIntoLog("Error: Failed to create listening socket: " + socketPath + "\n"));
    startAgent();
    agent.reset();
    engine.reset();
    EXPECT_TRUE(std::filesystem::exists(socketPath));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
