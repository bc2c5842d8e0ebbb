#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

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
    explicit Segment(std::uint32_t payloadSize, const std::string& key = test::uniqueName("shm"))
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
        ASSERT_TRUE(createInputMessage(image, {1, 3, text, text}, settings, {}, message));
    }

    bool send()
    {
        int written = 0;
        const bool handedOver = manager.sendInput(
            message, 3,
            [&]
            {
                ++written;
                whenWritten();
            });
        EXPECT_EQ(handedOver ? 1 : 0, written);
        return handedOver;
    }

    // With room for the message as it is.
    std::uint32_t room() const { return static_cast<std::uint32_t>(message.size()); }

    const std::string text = "camera";
    std::function<void()> whenWritten = [] {};
    std::vector<std::uint8_t> pixels;
    FrameSettings settings;
    MessageBuffer message;
    ModulePeer peer{folder.path()};
};

TEST_F(SendInputTest, AnnouncesWritesAndConfirms)
{
    const Segment segment(room());
    peer.reply(encodedReply(segment.name()));
    whenWritten = [&]
    {
        EXPECT_EQ(joined(message), segment.content());
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(0u, peer.messages(0).size()) << "the application does not know of it yet";
    };
    ASSERT_TRUE(send());

    const auto messages = peer.messages(2);
    ASSERT_EQ(2u, messages.size());
    EXPECT_EQ(
        std::string("\x83\xabmessageType\x00\xaaInputIndex\x03\xa4Size\xcd", 32) +
            char(room() >> 8) + char(room()),
        messages[0]);
    EXPECT_EQ(std::string("\x81\xa6Status\x00", 9), messages[1]);
}

TEST_F(SendInputTest, SendsACommandInAMessage)
{
    manager.sendReferenceRun();
    manager.sendStop();
    const std::string start = "\x82\xabmessageType\1\247Command";
    EXPECT_EQ((std::vector{start + '\1', start + '\0'}), peer.messages(2));
    EXPECT_NE(std::string::npos, log.text().find("Interface: Sent reference run command"));
}

// What the application answers, and what comes of it. None of it writes anything.
TEST_F(SendInputTest, DropsTheFrameOnAnAnswerWithoutASegment)
{
    const std::string notReady = "Orlix Manager not ready for input.\n";
    const Segment there(room());
    const struct
    {
        const char* what;
        std::string reply;
        std::string line;
    } kCases[] = {
        {"no segment", std::string("\x80", 1), notReady},
        {"cut", std::string("\x82\xa6SHMKEY", 8),
         "Warning: Invalid response message received. mpack_error_invalid. Ignoring.\n"},
        {"arrays in arrays, without an end", std::string(100'000, '\x91'),
         "Warning: Invalid response message received. mpack_error_invalid. Ignoring.\n"},
        {"too long a name", encodedReply(std::string(1024, 'n')),
         "Warning! Could not attach SHM \n"},
        {"unknown segment", encodedReply("orlix_no_such"),
         "Warning! Could not attach SHM orlix_no_such\n"},
        {"unknown closed, which drops the other, too", encodedReply(there.name(), "orlix_closed"),
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

// Frames of several cameras, and an application that keeps to no order.
TEST_F(SendInputTest, AttachesAnewWhatIsClosedInTheSameReply)
{
    const std::string key = test::uniqueName("shm");
    auto segment = std::make_unique<Segment>(room(), key);
    peer.reply(encodedReply(segment->name()));
    ASSERT_TRUE(send());
    segment.reset();
    segment = std::make_unique<Segment>(room(), key);
    peer.reply(encodedReply(segment->name(), segment->name()));
    ASSERT_TRUE(send());
    EXPECT_EQ(joined(message), segment->content());
}

TEST_F(SendInputTest, ANewRunMeansNewSegments)
{
    AttachedSegments segments;
    CopyChoice copyChoice;
    const std::string key = test::uniqueName("shm");
    auto segment = std::make_unique<Segment>(room(), key);
    const std::string name = segment->name();
    ASSERT_TRUE(segments.find(name)->write(message, copyChoice));
    const std::weak_ptr<AttachedSegment> view = segments.find(name);
    segment.reset();
    segment = std::make_unique<Segment>(room(), key);
    segments.endRun();
    EXPECT_TRUE(view.expired()); // it would hold memory and a descriptor
    ASSERT_TRUE(segments.find(name)->write(message, copyChoice));
    EXPECT_EQ(joined(message), segment->content());
}

TEST_F(SendInputTest, ClosingMeetsWriting)
{
    AttachedSegments segments;
    CopyChoice copyChoice;
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
                    EXPECT_TRUE(attached && attached->write(message, copyChoice));
                }
                --running;
            });
    }
    while (running > 0)
    {
        static_cast<void>(segments.close(segment.name()));
        segments.endRun();
    }
    for (auto& writer : writers)
        writer.join();
    EXPECT_EQ(joined(message), segment.content());
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
