#include "inference/input_message.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>

#include <gtest/gtest.h>

#include "manager_fixture.h"
#include "utils/mpack_tree.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using test::joined;
using namespace std::string_literals;

class InputMessageTest : public testing::Test
{
protected:
    // Rows of 4 pixels, each byte its own number.
    static constexpr std::uint32_t kWidth = 4;
    static constexpr std::uint32_t kHeight = 3;
    static constexpr std::size_t kRow = kWidth * 3;

    InputMessageTest() { std::iota(pixels.begin(), pixels.end(), std::uint8_t{1}); }

    bool create() { return createInputMessage(image, source, settings, {}, buffer); }

    std::string created()
    {
        EXPECT_TRUE(create());
        return joined(buffer);
    }

    static std::vector<std::string> keysOf(const std::string& message)
    {
        MessageTree tree;
        (void)tree.parse(message);
        std::vector<std::string> keys;
        for (std::size_t i = 0; i < mpack_node_map_count(tree.root()); ++i)
        {
            const mpack_node_t key = mpack_node_map_key_at(tree.root(), i);
            keys.emplace_back(mpack_node_str(key), mpack_node_strlen(key));
        }
        EXPECT_EQ(mpack_ok, tree.finish());
        return keys;
    }

    std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(200);
    InputImage image{pixels.data(), kRow, kWidth, kHeight};
    const std::string text = "camera";
    InputSource source{1'700'000'000'000'000, 7, text, text};
    FrameSettings settings;
    MessageBuffer buffer;
};

// The bytes that docs/protocol.md shows to writers of an application.
TEST_F(InputMessageTest, IsWhatTheProtocolsDocumentShows)
{
    const std::uint8_t redAndGreen[] = {255, 0, 0, 0, 255, 0};
    image = {redAndGreen, 6, 2, 1};
    const std::string id = "cam";
    const std::string name = "Gate";
    ASSERT_TRUE(
        createInputMessage(image, {1'700'000'000'000'000, 3, id, name}, settings, {}, buffer));
    EXPECT_EQ(
        "\x8a\xa9ImageData\xc4\x06\xff\0\0\0\xff\0\xa9Pipelines\x90\xa5Width\x02\xa6Height\x01"
        "\xa8"
        "Channels\x03\xabmessageType\0\xaaInputIndex\x03\xa8"
        "DeviceID\xa3"
        "cam"
        "\xaa"
        "DeviceName\xa4Gate\xa9Timestamp\xcf\0\x06\x0a\x24\x18\x1e\x40\0"s,
        joined(buffer));
}

TEST_F(InputMessageTest, SendsSettingsInTheirUnits)
{
    constexpr float kInf = std::numeric_limits<float>::infinity();
    const struct
    {
        std::vector<float> line;
        std::int64_t time;
        std::string sentLine;
        std::string sentTime;
    } kCases[] = {
        {{0.12f, 0.5f, 0.13f, 0.9f}, 12, "\x94\0\2\1\3"s, "\xce\x00\xb7\x1b\x00"s},
        {{-0.2f, -0.5f, -0.1f, 2.0f}, -5, "\x94\xff\xfe\0\6"s, "\0"s},
        {{kInf, -kInf, std::nanf(""), 0x1p58f},
         std::numeric_limits<std::int64_t>::max(),
         "\x94\xcf\x7f\xff\xff\xff\xff\xff\xff\xff\xd3\x80\0\0\0\0\0\0\0\0\xcf\x0c\0\0\0\0\0\0\0"s,
         "\xcf\xff\xff\xff\xff\xff\xff\xff\xff"s}};
    settings.masks = {{0.5f, 0.5f}};
    settings.dumpingEnabled = settings.loiteringEnabled = true;
    settings.dumpingTimeThreshold = 12;
    for (const auto& c : kCases)
    {
        settings.line = c.line;
        settings.loiterTimeThreshold = c.time;
        const std::string bytes = created();
        EXPECT_NE(std::string::npos, bytes.find("\x91\x92\xca\x40\0\0\0\xca\x3f\xc0\0\0"s));
        EXPECT_NE(std::string::npos, bytes.find(c.sentLine));
        EXPECT_NE(std::string::npos, bytes.find("TimeThreshold\xcd\x2e\xe0"s)); // milliseconds
        EXPECT_NE(std::string::npos, bytes.find("TimeThreshold" + c.sentTime));
    }
}

TEST_F(InputMessageTest, CountsWhatItHolds)
{
    // What each setting adds to all before it.
    const struct
    {
        std::function<void(FrameSettings&)> set;
        std::vector<const char*> keys;
    } kCases[] = {
        {[](FrameSettings&) {},
         {"ImageData", "Pipelines", "Width", "Height", "Channels", "messageType", "InputIndex",
          "DeviceID", "DeviceName", "Timestamp"}},
        {[](FrameSettings& s) {
             s.masks = {{0, 0, 1, 0, 1, 1}, {}};
         },
         {"Masks", "MaskType"}},
        {[](FrameSettings& s) {
             s.line = {0, 0, 1, 1};
         },
         {"LineCrossingSettings"}},
        {[](FrameSettings& s) { s.dumpingEnabled = true; }, {"DumpingDetectionSettings"}},
        {[](FrameSettings& s) { s.loiteringEnabled = true; }, {"LoiteringDetectionSettings"}},
        {[](FrameSettings& s) {
             s.externalProcessorSettings = {{"a", "1"}, {"b", "2"}};
         },
         {"ExternalProcessorSettings"}}};
    std::vector<std::string> all;
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.keys.front());
        all.insert(all.end(), c.keys.begin(), c.keys.end());
        c.set(settings);
        EXPECT_EQ(all, keysOf(created()));
    }
    settings.masks.assign(2, std::vector<float>(20'000, 0.5f));
    const std::string large = created();
    EXPECT_EQ(all, keysOf(large));
    EXPECT_LT(40'000u, large.size());
}

TEST_F(InputMessageTest, PacksRowsThatLieFurtherApart)
{
    const std::string packed = created();
    std::vector<std::uint8_t> padded(100, 0xff);
    for (std::size_t row = 0; row < kHeight; ++row)
        std::copy_n(pixels.begin() + row * kRow, kRow, padded.begin() + row * (kRow + 5));
    image = {padded.data(), kRow + 5, kWidth, kHeight};
    EXPECT_EQ(packed, created());
}

// No pixel is read: these would lie far beyond any memory.
TEST_F(InputMessageTest, RefusesWhatNoSegmentCanHold)
{
    const struct
    {
        std::uint32_t width;
        std::uint32_t height;
    } kCases[] = {{0xffffffff, 0xffffffff}, {0x55555556, 1}, {10'000, 7'000}, {69'905'064, 1}};
    created(); // of which nothing stays
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height);
        const test::CapturedLog log;
        image = {pixels.data(), std::size_t{c.width} * 3, c.width, c.height};
        EXPECT_FALSE(create());
        EXPECT_EQ(0u, buffer.size());
        EXPECT_EQ("", joined(buffer));
        EXPECT_EQ("Warning: An error occurred writing the data.\n", log.text());
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
