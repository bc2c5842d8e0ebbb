#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "decoded_message.h"
#include "inference/input_message.h"
#include "manager_fixture.h"
#include "module_peer.h"
#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using test::encodedReply;
using test::joined;
using test::ModulePeer;

// A segment of the application, gone with the test.
class Segment
{
public:
    explicit Segment(std::uint32_t payloadSize) :
        Segment(test::uniqueName("shm"), payloadSize)
    {}
    Segment(const std::string& key, std::uint32_t payloadSize)
    {
        shm_create_named(m_segment, key, 1, payloadSize);
        EXPECT_TRUE(shm_is_valid(m_segment));
    }
    ~Segment()
    {
        shm_remove(m_segment);
        shm_close(m_segment);
    }

    [[nodiscard]] const std::string& name() const { return m_segment.name; }
    void grow(std::uint32_t payloadSize) { EXPECT_TRUE(shm_resize(m_segment, payloadSize)); }

    // What was written, or zeros.
    [[nodiscard]] std::string content() const
    {
        std::uint32_t size = 0;
        const char* data = nullptr;
        const ShmView view = shm_read(m_segment, size, data);
        return {data, size};
    }

private:
    ShmSegment m_segment;
};

class SendInputTest : public test::ManagerFixture
{
protected:
    SendInputTest() { make(16, 8); }

    void make(std::uint32_t width, std::uint32_t height)
    {
        pixels.assign(std::size_t{width} * height * 3, 0x5a);
        const InputImage image{pixels.data(), std::size_t{width} * 3, width, height};
        ASSERT_TRUE(createInputMessage(image, {1, 3, text, text}, settings, nullptr, message));
    }

    bool send() { return manager.sendInput(message, 3); }

    // With room for the message as it is.
    std::uint32_t room() const { return static_cast<std::uint32_t>(message.size()); }

    const std::string text = "camera";
    std::vector<std::uint8_t> pixels;
    DeviceSettings settings;
    MessageBuffer message;
    ModulePeer peer{folder.path()};
};

TEST_F(SendInputTest, AnnouncesWritesAndConfirms)
{
    const Segment segment(room());
    peer.reply(encodedReply(segment.name()));
    ASSERT_TRUE(send());
    EXPECT_EQ(joined(message), segment.content());

    const auto messages = peer.messages(2);
    ASSERT_EQ(2u, messages.size());
    EXPECT_EQ(
        std::string("\x83\xabmessageType\x00\xaaInputIndex\x03\xa4Size\xcd", 32) +
            char(room() >> 8) + char(room()),
        messages[0]);
    EXPECT_EQ(std::string("\x81\xa6Status\x00", 9), messages[1]);
}

TEST_F(SendInputTest, AttachesASegmentOnce)
{
    const Segment segment(room());
    peer.reply(encodedReply(segment.name()));
    ASSERT_TRUE(send());
    ASSERT_TRUE(send());
    const std::string lines = log.text();
    EXPECT_EQ(lines.find("Attaching..."), lines.rfind("Attaching..."));
    EXPECT_TRUE(logHas("SHM not attached yet. Attaching...\n"));
}

// What the application answers, and what comes of it. None of it writes anything.
TEST_F(SendInputTest, DropsTheFrameOnAnAnswerWithoutASegment)
{
    const std::string deep(100'000, '\x91'); // arrays in arrays, without an end
    std::string wide("\xdd\x00\x40\x00\x00", 5); // more values than a message may have
    wide.append(0x400000, '\x01');
    const std::string longName(1024, 'n');
    const std::string notReady = "Orlix Manager not ready for input.\n";
    const struct
    {
        const char* what;
        std::string reply;
        std::string line;
    } kCases[] = {
        {"no segment", std::string("\x80", 1), notReady},
        {"no map", std::string("\x93\x01\x02\x03", 4), notReady},
        {"cut", std::string("\x82\xa6SHMKEY", 8),
         "Warning: Invalid response message received. mpack_error_invalid. Ignoring.\n"},
        {"deep", deep,
         "Warning: Invalid response message received. mpack_error_invalid. Ignoring.\n"},
        {"wide", wide,
         "Warning: Invalid response message received. mpack_error_too_big. Ignoring.\n"},
        {"no text", std::string("\x81\xa6SHMKEY\x07", 9), "Warning! Could not attach SHM \n"},
        {"too long a name", encodedReply(longName), "Warning! Could not attach SHM \n"},
        {"unknown segment", encodedReply("orlix_no_such"),
         "Warning! Could not attach SHM orlix_no_such\n"},
        {"unknown closed", encodedReply("", "orlix_closed"),
         "Warning: Closing unknown SHM: 0\n" + notReady}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.what);
        const test::CapturedLog own;
        peer.reply(c.reply);
        EXPECT_FALSE(send());
        EXPECT_NE(std::string::npos, own.text().find(c.line)) << own.text();
        log_init(folder.path("rest"), folder.path("rest"), "", false, false, 0);
    }
}

TEST_F(SendInputTest, NobodyListens)
{
    const test::ScopedTemporaryDirectory elsewhere(folder.path() + "/.");
    OrlixManagerInterface alone(folder.path(), &board);
    std::filesystem::remove(folder.path("orlix_manager.sock"));
    EXPECT_FALSE(alone.sendInput(message, 3));
    EXPECT_TRUE(logHas(
        "Warning! Could not connect with Orlix Manager " + folder.path() +
        "/./orlix_manager.sock.\n"));
}

TEST_F(SendInputTest, NobodyAnswers)
{
    EXPECT_FALSE(send()); // the peer closes instead
    EXPECT_TRUE(logHas(
        "Warning! Could not communicate with Orlix Manager " + folder.path("orlix_manager.sock") +
        ".\n"));
}

TEST_F(SendInputTest, DetachesBeforeItAttaches)
{
    const Segment first(room());
    const Segment second(room());
    peer.reply(encodedReply(first.name()));
    ASSERT_TRUE(send());
    peer.reply(encodedReply(second.name(), first.name()));
    ASSERT_TRUE(send());
    EXPECT_EQ(joined(message), second.content());

    // The first is unknown by now, so this answer names no segment any more either.
    peer.reply(encodedReply(second.name(), first.name()));
    EXPECT_FALSE(send());
    EXPECT_TRUE(logHas("Warning: Closing unknown SHM: 0\n"));
    EXPECT_TRUE(logHas("Orlix Manager not ready for input.\n"));
}

TEST_F(SendInputTest, AttachesAnewWhatIsClosedInTheSameReply)
{
    const std::string key = test::uniqueName("shm");
    auto segment = std::make_unique<Segment>(key, room());
    peer.reply(encodedReply(segment->name()));
    ASSERT_TRUE(send());
    segment.reset();
    segment = std::make_unique<Segment>(key, room());
    peer.reply(encodedReply(segment->name(), segment->name()));
    ASSERT_TRUE(send());
    EXPECT_EQ(joined(message), segment->content());
}

TEST_F(SendInputTest, LooksAgainAtASegmentThatWasTooSmall)
{
    Segment segment(room());
    peer.reply(encodedReply(segment.name()));
    ASSERT_TRUE(send());
    const std::string small = segment.content();
    make(640, 360);
    EXPECT_FALSE(send());
    EXPECT_EQ(small, segment.content());

    segment.grow(room());
    EXPECT_TRUE(send());
    EXPECT_EQ(joined(message), segment.content());
}

TEST_F(SendInputTest, AFrameCannotOutliveItsSegmentsEnd)
{
    AttachedSegments segments;
    const Segment segment(room());
    const auto held = segments.find(segment.name());
    ASSERT_TRUE(held);
    EXPECT_TRUE(segments.close(segment.name()));
    EXPECT_TRUE(held->write(message)); // still mapped, for whoever holds it
    EXPECT_FALSE(segments.close(segment.name()));
}

// Frames of several cameras, and an application that keeps to no order.
TEST_F(SendInputTest, ClosingMeetsWriting)
{
    AttachedSegments segments;
    const Segment segment(room());
    std::atomic<int> running{3};
    std::vector<std::thread> writers;
    for (int i = 0; i < 3; ++i)
    {
        writers.emplace_back(
            [&]()
            {
                for (int round = 0; round < 200; ++round)
                {
                    const auto attached = segments.find(segment.name());
                    EXPECT_TRUE(attached && attached->write(message));
                }
                --running;
            });
    }
    while (running > 0)
    {
        static_cast<void>(segments.close(segment.name()));
        segments.startRun();
    }
    for (auto& writer : writers)
        writer.join();
    EXPECT_EQ(joined(message), segment.content());
}

TEST_F(SendInputTest, ANewRunMeansNewSegments)
{
    AttachedSegments segments;
    const std::string key = test::uniqueName("shm");
    auto segment = std::make_unique<Segment>(key, room());
    const std::string name = segment->name();
    ASSERT_TRUE(segments.find(name)->write(message));
    segment.reset();
    segment = std::make_unique<Segment>(key, room());
    ASSERT_TRUE(segments.find(name)->write(message)); // into memory that nobody reads
    EXPECT_NE(joined(message), segment->content());

    segments.startRun();
    ASSERT_TRUE(segments.find(name)->write(message));
    EXPECT_EQ(joined(message), segment->content());
}

TEST_F(SendInputTest, SendsCommandsOnConnectionsOfTheirOwn)
{
    manager.sendStop();
    manager.sendReferenceRun();
    const auto messages = peer.messages(2);
    ASSERT_EQ(2u, messages.size());
    EXPECT_EQ(
        std::string(
            "\x82\xabmessageType\x01\xa7"
            "Command\x00",
            23),
        messages[0]);
    EXPECT_EQ(
        std::string(
            "\x82\xabmessageType\x01\xa7"
            "Command\x01",
            23),
        messages[1]);
    EXPECT_TRUE(logHas("OrlixManagerInterface: Sent stop command.\n"));
    EXPECT_TRUE(logHas("OrlixManagerInterface: Sent reference run command"));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
