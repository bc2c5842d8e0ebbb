#include "inference/input_message.h"

#include <cmath>
#include <limits>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "decoded_message.h"
#include "inference/protocol.h"
#include "utils/json.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using test::DecodedMessage;
using test::joined;
using testing::ElementsAre;

class InputMessageTest : public testing::Test
{
protected:
    // Rows of 4 pixels, each byte its own number.
    static constexpr std::uint32_t kWidth = 4;
    static constexpr std::uint32_t kHeight = 3;
    static constexpr std::size_t kRow = kWidth * 3;

    InputMessageTest() { std::iota(pixels.begin(), pixels.end(), std::uint8_t{1}); }

    bool create(const PipelineTree* pipelines = nullptr)
    {
        return createInputMessage(image, source, settings, pipelines, buffer);
    }

    std::string created()
    {
        EXPECT_TRUE(create());
        return joined(buffer);
    }

    std::vector<std::int64_t> sentLine(std::vector<float> line)
    {
        settings.line = std::move(line);
        DecodedMessage message(created());
        const auto node = message.at("LineCrossingSettings", "LineCoordinates");
        std::vector<std::int64_t> sent;
        for (std::size_t i = 0; i < mpack_node_array_length(node); ++i)
            sent.push_back(mpack_node_i64(mpack_node_array_at(node, i)));
        return sent;
    }

    std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(200);
    InputImage image{pixels.data(), kRow, kWidth, kHeight};
    const std::string deviceId = "0b5b5d3f-0000-4000-8000-000000000001";
    const std::string deviceName = "Gate \"north\"";
    InputSource source{1'700'000'000'000'000, 7, deviceId, deviceName};
    DeviceSettings settings;
    MessageBuffer buffer;
};

TEST_F(InputMessageTest, CarriesTheFrameAndItsDevice)
{
    const std::string bytes = created();
    EXPECT_EQ(buffer.size(), bytes.size());
    DecodedMessage message(bytes);
    EXPECT_THAT(
        message.keys(),
        ElementsAre(
            "ImageData", "Pipelines", "Width", "Height", "Channels", "messageType", "InputIndex",
            "DeviceID", "DeviceName", "Timestamp"));
    EXPECT_EQ(
        std::string(pixels.begin(), pixels.begin() + kRow * kHeight),
        message.text(message.at("ImageData")));
    EXPECT_EQ(mpack_type_bin, mpack_node_type(message.at("ImageData")));
    EXPECT_EQ(0u, mpack_node_array_length(message.at("Pipelines")));
    EXPECT_EQ(kWidth, mpack_node_u32(message.at("Width")));
    EXPECT_EQ(kHeight, mpack_node_u32(message.at("Height")));
    EXPECT_EQ(3u, mpack_node_u32(message.at("Channels")));
    EXPECT_EQ(0, mpack_node_i64(message.at("messageType")));
    EXPECT_EQ(7u, mpack_node_u64(message.at("InputIndex")));
    EXPECT_EQ(deviceId, message.text(message.at("DeviceID")));
    EXPECT_EQ(deviceName, message.text(message.at("DeviceName")));
    EXPECT_EQ(source.timestampUs, mpack_node_u64(message.at("Timestamp")));
}

// The bytes that docs/protocol.md shows to writers of an application.
TEST_F(InputMessageTest, IsWhatTheProtocolsDocumentShows)
{
    const std::uint8_t redAndGreen[] = {255, 0, 0, 0, 255, 0};
    image = {redAndGreen, 6, 2, 1};
    const std::string id = "cam";
    const std::string name = "Gate";
    ASSERT_TRUE(
        createInputMessage(image, {1'700'000'000'000'000, 3, id, name}, settings, nullptr, buffer));
    using namespace std::string_literals;
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

TEST_F(InputMessageTest, PacksRowsThatLieFurtherApart)
{
    const std::string packed = created();
    std::vector<std::uint8_t> padded(100, 0xff);
    for (std::size_t row = 0; row < kHeight; ++row)
        std::copy_n(pixels.begin() + row * kRow, kRow, padded.begin() + row * (kRow + 5));
    image = {padded.data(), kRow + 5, kWidth, kHeight};
    EXPECT_EQ(packed, created());
}

TEST_F(InputMessageTest, CarriesThePipelinesAsTheyAre)
{
    const auto document = parseJson(
        R"([{"modelUUID":"m","modelNMS":0.25,"chains":[{"n":-3,"big":5000000000,"on":true}]}])");
    const auto pipelines = PipelineTree::fromJson(yyjson_doc_get_root(document.get()));
    ASSERT_TRUE(pipelines);
    ASSERT_TRUE(create(pipelines.get()));
    DecodedMessage message(joined(buffer));
    const auto node = mpack_node_array_at(message.at("Pipelines"), 0);
    EXPECT_EQ(0.25, mpack_node_double(mpack_node_map_cstr(node, "modelNMS")));
    const auto chain = mpack_node_array_at(mpack_node_map_cstr(node, "chains"), 0);
    EXPECT_EQ(-3, mpack_node_i64(mpack_node_map_cstr(chain, "n")));
    EXPECT_EQ(5'000'000'000u, mpack_node_u64(mpack_node_map_cstr(chain, "big")));
    EXPECT_TRUE(mpack_node_bool(mpack_node_map_cstr(chain, "on")));
}

TEST_F(InputMessageTest, AddsWhatTheDeviceHasSet)
{
    settings.masks = {{0.5f, 0.5f, 0.25f, 1.0f}, {0.1f, 0.2f}};
    settings.maskType = "exclusive";
    settings.line = {0.0f, 0.0f, 1.0f, 1.0f};
    settings.dumpingEnabled = true;
    settings.dumpingObjectType = "bag";
    settings.dumpingTimeThreshold = 12;
    settings.loiteringEnabled = true;
    settings.loiterObjectClass = "person";
    settings.loiterTimeThreshold = 34;
    settings.externalProcessorSettings = {{"externalprocessor.blur.size", "9"}};

    DecodedMessage message(created());
    const auto keys = message.keys();
    EXPECT_THAT(
        std::vector(keys.begin() + 10, keys.end()),
        ElementsAre(
            "Masks", "MaskType", "LineCrossingSettings", "DumpingDetectionSettings",
            "LoiteringDetectionSettings", "ExternalProcessorSettings"));
    const auto masks = message.at("Masks");
    ASSERT_EQ(2u, mpack_node_array_length(masks));
    const auto polygon = mpack_node_array_at(masks, 0);
    EXPECT_EQ(mpack_type_float, mpack_node_type(mpack_node_array_at(polygon, 0)));
    const float expected[] = {2.0f, 1.5f, 1.0f, 3.0f};
    ASSERT_EQ(4u, mpack_node_array_length(polygon));
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(expected[i], mpack_node_float(mpack_node_array_at(polygon, i)));
    EXPECT_EQ("exclusive", message.text(message.at("MaskType")));
    EXPECT_EQ("bag", message.text(message.at("DumpingDetectionSettings", "ObjectClass")));
    EXPECT_EQ(12'000u, mpack_node_u64(message.at("DumpingDetectionSettings", "TimeThreshold")));
    EXPECT_EQ("person", message.text(message.at("LoiteringDetectionSettings", "ObjectClass")));
    EXPECT_EQ(
        34'000'000u, mpack_node_u64(message.at("LoiteringDetectionSettings", "TimeThreshold")));
    EXPECT_EQ(
        "9", message.text(message.at("ExternalProcessorSettings", "externalprocessor.blur.size")));
}

TEST_F(InputMessageTest, RoundsALineToWholePixels)
{
    EXPECT_THAT(sentLine({0.12f, 0.5f, 0.13f, 0.9f}), ElementsAre(0, 2, 1, 3));
    EXPECT_THAT(sentLine({-0.2f, -0.5f, -0.1f, 2.0f}), ElementsAre(-1, -2, 0, 6));
    const float huge = std::numeric_limits<float>::infinity();
    EXPECT_THAT(
        sentLine({huge, -huge, std::nanf(""), 1e30f}),
        ElementsAre(
            std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min(), 0,
            std::numeric_limits<std::int64_t>::max()));
}

TEST_F(InputMessageTest, OnePointIsNoLine)
{
    settings.line = {0.5f, 0.5f};
    EXPECT_FALSE(DecodedMessage(created()).has("LineCrossingSettings"));
}

TEST_F(InputMessageTest, BoundsTimeThresholds)
{
    settings.dumpingEnabled = settings.loiteringEnabled = true;
    settings.dumpingTimeThreshold = -5;
    settings.loiterTimeThreshold = std::numeric_limits<std::int64_t>::max();
    DecodedMessage message(created());
    EXPECT_EQ(0u, mpack_node_u64(message.at("DumpingDetectionSettings", "TimeThreshold")));
    EXPECT_EQ(
        std::numeric_limits<std::uint64_t>::max(),
        mpack_node_u64(message.at("LoiteringDetectionSettings", "TimeThreshold")));
}

TEST_F(InputMessageTest, ReusesItsMemoryUntilAMessageNeedsMore)
{
    ASSERT_TRUE(create());
    const auto* const memory = buffer.memory().data();
    source.timestampUs += 100'000;
    ASSERT_TRUE(create());
    EXPECT_EQ(memory, buffer.memory().data());

    settings.externalProcessorSettings = {{"long", std::string(100'000, 'x')}};
    DecodedMessage message(created());
    EXPECT_EQ(100'000u, mpack_node_strlen(message.at("ExternalProcessorSettings", "long")));
    EXPECT_EQ(source.timestampUs, mpack_node_u64(message.at("Timestamp")));
}

TEST_F(InputMessageTest, AnEmptyImageIsAMessage)
{
    image = {};
    DecodedMessage message(created());
    EXPECT_EQ(0u, mpack_node_bin_size(message.at("ImageData")));
}

// No pixel is read: these would lie far beyond any memory.
TEST_F(InputMessageTest, RefusesWhatNoSegmentCanHold)
{
    const struct
    {
        std::uint32_t width;
        std::uint32_t height;
    } kCases[] = {{0xffffffff, 0xffffffff}, {0x55555556, 1}, {10'000, 7'000}, {69'905'064, 1}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height);
        const test::CapturedLog log;
        image = {pixels.data(), std::size_t{c.width} * 3, c.width, c.height};
        EXPECT_FALSE(create());
        EXPECT_EQ(0u, buffer.size());
        EXPECT_EQ("Warning: An error occurred writing the data.\n", log.text());
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
