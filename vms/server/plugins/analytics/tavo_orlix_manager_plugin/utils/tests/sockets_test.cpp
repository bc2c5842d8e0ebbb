#include "utils/sockets.h"

#include <cerrno>
#include <cstring>
#include <vector>

#include <testing/kept_file_number.h>
#include <testing/platform.h>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

constexpr MessagePlace kPlaces[] = {MessagePlace::oneOfSeveral, MessagePlace::sole};

std::string textOf(const ReceiveBuffer& buffer)
{
    const std::span<const char> message = buffer.message();
    return {message.data(), message.size()};
}

bool send(SocketHandle socket, const std::string& text)
{
    return socket_send_message(socket, text.data(), static_cast<std::uint32_t>(text.size()));
}

// Bytes as they are, without a frame record.
void sendRaw(SocketHandle socket, const std::string& bytes)
{
    ASSERT_TRUE(test_support::sendBytes(socket, bytes));
}

std::string sizeWord(std::uint32_t size)
{
    std::string word(sizeof size, '\0');
    std::memcpy(word.data(), &size, sizeof size);
    return word;
}

class SocketsTest : public testing::Test
{
protected:
    SocketsTest() :
        m_listening(socket_listen(m_path))
    {}
    ~SocketsTest() override
    {
        for (const SocketHandle socket : m_opened)
            socket_close(socket);
        socket_close(m_listening);
        socket_unlink(m_path);
    }

    SocketHandle connected()
    {
        m_opened.push_back(socket_connect(m_path));
        EXPECT_NE(kInvalidSocket, m_opened.back());
        return m_opened.back();
    }

    SocketHandle accept(MessagePlace place = MessagePlace::oneOfSeveral)
    {
        m_opened.push_back(socket_accept_message(m_listening, m_buffer, place));
        EXPECT_NE(kInvalidSocket, m_opened.back());
        return m_opened.back();
    }

    void hold(const std::string& message)
    {
        ASSERT_TRUE(send(connected(), message));
        accept();
        ASSERT_EQ(message, textOf(m_buffer));
    }

    TemporaryFolder m_folder;
    const std::string m_path = m_folder.path("sock");
    const SocketHandle m_listening;
    std::vector<SocketHandle> m_opened;
    ReceiveBuffer m_buffer;
};

TEST_F(SocketsTest, messagesFollowOneAnotherOnAConnection)
{
    const SocketHandle client = connected();
    for (const std::string& text : {std::string("first"), std::string(), std::string(20'000, 'x')})
        ASSERT_TRUE(send(client, text));
    const SocketHandle server = accept();
    EXPECT_EQ("first", textOf(m_buffer));
    socket_receive_message(server, m_buffer);
    EXPECT_EQ("", textOf(m_buffer));
    EXPECT_EQ(0, std::memcmp("first", m_buffer.data(), 5)); // untouched
    socket_receive_message(server, m_buffer);
    EXPECT_EQ(std::string(20'000, 'x'), textOf(m_buffer));
    for (const SocketHandle socket : {m_listening, client, server})
        EXPECT_FALSE(test_support::isInherited(static_cast<std::intptr_t>(socket)));
}

TEST_F(SocketsTest, aLargeMessageTravelsInParts)
{
    std::string large(3'000'000, '\0');
    for (std::size_t i = 0; i < large.size(); ++i)
        large[i] = static_cast<char>(i * 7);
    for (const MessagePlace place : kPlaces)
    {
        m_buffer = ReceiveBuffer();
        const SocketHandle client = connected();
        std::thread sender([&] { EXPECT_TRUE(send(client, large)); });
        accept(place);
        sender.join();
        EXPECT_TRUE(large == textOf(m_buffer));
    }
    const char* const memory = m_buffer.data();
    hold("small");
    EXPECT_EQ(memory, m_buffer.data()); // kept
    EXPECT_EQ(large.size(), m_buffer.capacity());
}

TEST_F(SocketsTest, anIncompleteMessageLeavesWhatTheTableSays)
{
    const struct
    {
        const char* name;
        std::string bytes;
        std::string left; // of "previous"
    } cases[] = {
        {"nothing", "", "previous"},
        {"half a header", sizeWord(3).substr(0, 2), "previous"},
        {"no message", sizeWord(0), ""},
        {"a header alone", sizeWord(4), "prev"},
        {"part of a body", sizeWord(4) + "XY", "XYev"},
        {"larger than the buffer", sizeWord(11) + "XY", std::string("XYevious\0\0\0", 11)},
        {"too large for any buffer", sizeWord(kMaxMessageSize + 1) + "XY", "previous"},
        {"the largest size word", sizeWord(0xFFFFFFFF), "previous"},
    };
    for (const auto& c : cases)
    {
        for (const MessagePlace place : kPlaces)
        {
            SCOPED_TRACE(c.name);
            m_buffer = ReceiveBuffer();
            hold("previous");
            const SocketHandle client = connected();
            sendRaw(client, c.bytes);
            socket_shutdown(client); // nothing is left to be waited for
            accept(place);
            ASSERT_EQ(c.left.size(), m_buffer.message().size()); // what is not there is not printed
            EXPECT_EQ(c.left, textOf(m_buffer));
        }
    }
}

TEST_F(SocketsTest, aMessageThatTricklesIsGivenUp)
{
    for (const MessagePlace place : kPlaces)
    {
        m_buffer = ReceiveBuffer();
        const SocketHandle client = connected();
        sendRaw(client, sizeWord(1000));
        std::atomic<bool> givenUp{false};
        std::size_t sent = 0;
        std::thread trickle(
            [&]
            {
                for (; sent < 1000 && !givenUp; ++sent)
                {
                    sendRaw(client, "x");
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
                }
            });
        accept(place);
        givenUp = true;
        trickle.join();
        EXPECT_LT(sent, 1000u);
        const std::string text = textOf(m_buffer);
        ASSERT_EQ(1000u, text.size());
        const std::size_t came = text.find_first_not_of('x');
        EXPECT_LE(came, sent);
        EXPECT_EQ(std::string(1000 - came, '\0'), text.substr(came)); // nothing else is handed on
    }
}

TEST_F(SocketsTest, aConnectionLeavesNothingBehindNorDoesAWaitForNone)
{
    const auto meet = [this]
    {
        const SocketHandle client = socket_connect(m_path);
        EXPECT_TRUE(send(client, "x"));
        socket_close(socket_accept_message(m_listening, m_buffer));
        socket_close(client);
        EXPECT_EQ(kInvalidSocket, socket_connect(m_folder.path("none")));
    };
    meet(); // what a system keeps from the first time on
    const auto before = test_support::openHandles();
    for (int i = 0; i < 3; ++i)
        meet();
    errno = 0;
    EXPECT_EQ(kInvalidSocket, socket_accept_message(m_listening, m_buffer));
    EXPECT_EQ(ETIMEDOUT, errno);
    EXPECT_EQ(before, test_support::openHandles());
}

TEST_F(SocketsTest, aSendToNobodyFailsWithoutASignal)
{
    const SocketHandle client = connected();
    socket_close(accept());
    m_opened.pop_back();
    EXPECT_TRUE(comesTrue([&] { return !send(client, "x"); }));
    EXPECT_FALSE(send(kInvalidSocket, ""));
}

TEST_F(SocketsTest, aSendToOneWhoDoesNotReadIsGivenUp)
{
    const SocketHandle client = connected();
    ASSERT_TRUE(send(client, "read"));
    const std::string large(100'000'000, 'x'); // is kept by no system
    for (const SocketHandle sender : {client, accept()})
        EXPECT_FALSE(send(sender, large));
}

TEST(SocketPathTest, longPathsAreCutAlikeOnBothSidesAndFilesReplaced)
{
    const TemporaryFolder folder;
    const std::string cut = folder.path(std::string(200, 'p')).substr(0, 107);
    std::ofstream(cut) << "in the way";
    for (const std::size_t extra : {0, 1, 100})
    {
        const std::string path = cut + std::string(extra, 'q');
        const SocketHandle listening = socket_listen(path);
        ASSERT_NE(kInvalidSocket, listening);
        EXPECT_NE("in the way", contentOf(cut));
        const SocketHandle client = socket_connect(path);
        EXPECT_NE(kInvalidSocket, client);
        socket_close(client);
        socket_close(listening);
        socket_unlink(path);
        EXPECT_FALSE(std::filesystem::exists(cut));
    }
}

TEST(SocketPathTest, onlyAFileOfTheirOwnIsUnlinked)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("sock");
    SocketFile firstFile;
    SocketFile secondFile;
    const SocketHandle first = socket_listen(path, &firstFile);
    const test_support::KeptFileNumber firstNumber(path);
    const SocketHandle second = socket_listen(path, &secondFile);
    ASSERT_NE(kInvalidSocket, second);
    socket_close(first);
    socket_unlink(path, firstFile);
    socket_unlink_stale(path);
    EXPECT_TRUE(std::filesystem::exists(path));
    socket_unlink(path, secondFile);
    EXPECT_FALSE(std::filesystem::exists(path));
    socket_close(second);

    socket_close(socket_listen(path)); // as a process that is killed leaves it
    socket_unlink_stale(path);
    EXPECT_FALSE(std::filesystem::exists(path));
    std::ofstream(path) << "no socket";
    socket_unlink_stale(path);
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
