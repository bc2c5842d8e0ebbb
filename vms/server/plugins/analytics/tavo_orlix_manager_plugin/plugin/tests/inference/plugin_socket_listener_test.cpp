#include <string>

#include "../core/engine_fixture.h"
#include "inference/protocol.h"
#include "utils/sockets.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using namespace std::string_literals;

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

// A result for the agent of that index, as MessagePack has it.
std::string result(const std::string& index)
{
    return "\x82\xaaInputIndex" + index + "\xa9Timestamp\x01";
}

// Without a token the engine's loop has nothing to do.
class PluginSocketListenerTest : public EngineTest
{
protected:
    PluginSocketListenerTest() { m_host->setToken(""); }

    void startAgent()
    {
        agent = obtainAgent("00010203-0405-0607-0809-0a0b0c0d0e0f");
        agent->setHandler(handler.get());
    }

    // As the application does, and again while the listener is not there yet.
    void send(const std::string& message)
    {
        engine();
        SocketHandle connection = kInvalidSocket;
        ASSERT_TRUE(test::comesTrue(
            [&]()
            {
                return m_folder.has(socketFile) &&
                    (connection = socket_connect(m_folder.path(socketFile))) != kInvalidSocket;
            }));
        if (!message.empty())
        {
            EXPECT_TRUE(socket_send_message(
                connection, message.data(), static_cast<std::uint32_t>(message.size())));
        }
        socket_close(connection);
    }

    bool packetsReach(int count)
    {
        return test::comesTrue([&]() { return handler->packets == count; });
    }

    const std::string socketFile = protocol::kPluginSocketFile;
    const sdk::Ptr<CountingHandler> handler = sdk::makePtr<CountingHandler>();
    sdk::Ptr<sdk::analytics::IDeviceAgent> agent;
};

constexpr char kNotFound[] = "Device agent not found\n";
constexpr char kEncoding[] = "Warning: An error occurred encoding the data!\n";
constexpr char kDecoding[] = "Warning: An error occurred decoding the data!\n";
constexpr char kTimestampZero[] = "Warning: Timestamp of 0 received. Ignoring input message.";

// What no application sends. It costs one message each, and reads as one for agent 0 without a
// timestamp.
TEST_F(PluginSocketListenerTest, SurvivesBrokenMessages)
{
    startAgent();
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
        {"an index that is a text",
         result("\xa1"
                "0")},
        {"no map", std::string("\x01", 1)},
        {"cut", whole.substr(0, whole.size() - 1)},
        {"deep without an end", std::string(1'000'000, '\x91')},
        {"more values than it has bytes", std::string("\xdf\xff\xff\xff\xff\x01", 6)},
        {"more values than a message may have", wide}};
    int seen = 0;
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        send(c.message);
        EXPECT_TRUE(comesIntoLog(kDecoding, ++seen));
        EXPECT_TRUE(comesIntoLog(kTimestampZero, seen));
    }
    EXPECT_EQ(0, handler->packets);
    send(whole);
    EXPECT_TRUE(packetsReach(1));
}

TEST_F(PluginSocketListenerTest, ASilentConnectionRepeatsTheMessageBefore)
{
    m_folder.write(socketFile, "of an earlier run");
    send(""); // the first ever: there is nothing to repeat
    EXPECT_TRUE(comesIntoLog(kNotFound));
    EXPECT_TRUE(comesIntoLog(kEncoding));

    startAgent();
    send(result("\0"s));
    ASSERT_TRUE(packetsReach(1));
    send("");
    EXPECT_TRUE(packetsReach(2));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
