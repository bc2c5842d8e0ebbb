#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "engine/input_frame.h"
#include "utils/json.h"
#include "utils/json_mpack.h"
#include "utils/mpack_tree.h"

namespace tavo::devkit
{
namespace
{

namespace orlix = vms_server_plugins::analytics::orlix;

// The message whose keys are those of the JSON object, with an image of so many bytes.
std::vector<char> message(const std::string& json, std::size_t imageSize)
{
    const orlix::JsonDocument document = orlix::parseJson(json);
    yyjson_val* const root = yyjson_doc_get_root(document.get());
    orlix::MpackGrowableWriter writer;
    mpack_start_map(writer.writer(), static_cast<std::uint32_t>(yyjson_obj_size(root)) + 1);
    mpack_write_cstr(writer.writer(), "ImageData");
    const std::string image(imageSize, '\x40');
    mpack_write_bin(writer.writer(), image.data(), static_cast<std::uint32_t>(image.size()));
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* key = nullptr;
    yyjson_val* value = nullptr;
    yyjson_obj_foreach(root, index, count, key, value)
    {
        mpack_write_cstr(writer.writer(), yyjson_get_str(key));
        (void)orlix::json_to_mpack_write(value, writer.writer());
    }
    mpack_finish_map(writer.writer());
    writer.close();
    return {writer.bytes().begin(), writer.bytes().end()};
}

constexpr char kWhole[] = R"({
    "Pipelines": [{"modelUUID": "a", "modelNMS": 0.25, "Preprocessor": "LineCrossing", "chains": [
                     {"modelUUID": "b", "modelNMS": 7, "Postprocessor": "x"}]},
                  [{"modelUUID": "c", "modelNMS": 0, "chains": {"modelUUID": "d"}}], 5],
    "Width": 8, "Height": 4, "Channels": 3, "messageType": 0, "InputIndex": 3, "DeviceID": "id",
    "DeviceName": "name", "Timestamp": 1700000000000000,
    "Masks": [[0.5, 1, 2, 3, 4, 5.5], [], [1, 1, 2, 2]], "MaskType": "exclusive",
    "LineCrossingSettings": {"LineCoordinates": [-1, 2, 3, 4]},
    "DumpingDetectionSettings": {"ObjectClass": "object", "TimeThreshold": 2000},
    "LoiteringDetectionSettings": {"ObjectClass": "person", "TimeThreshold": 30000000},
    "ExternalProcessorSettings": {"externalprocessor.k": "v"}})";

TEST(InputFrame, carriesAllThatTheMessageHolds)
{
    const std::vector<char> bytes = message(kWhole, 8 * 4 * 3);
    const auto frame = decodeInputFrame(bytes);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->rgb.size, (Size{8, 4}));
    EXPECT_GE(reinterpret_cast<const char*>(frame->rgb.pixels), bytes.data()); // no copy
    EXPECT_LT(reinterpret_cast<const char*>(frame->rgb.pixels), bytes.data() + bytes.size());
    EXPECT_EQ(frame->inputIndex, 3u);
    EXPECT_EQ(frame->timestampUs, 1'700'000'000'000'000u);

    const struct
    {
        const char* uuid;
        float nms;
    } kNodes[] = {{"a", 0.25f}, {"b", 1}, {"c", 0}, {"d", 0.5f}};
    ASSERT_EQ(frame->pipeline.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(frame->pipeline[i].modelUuid, kNodes[i].uuid);
        EXPECT_EQ(frame->pipeline[i].nms, kNodes[i].nms);
    }
    EXPECT_TRUE(frame->hasProcessor("LineCrossing"));
    EXPECT_TRUE(frame->hasProcessor("x"));
    EXPECT_FALSE(frame->hasProcessor("y"));

    // What has no three corners is no mask.
    EXPECT_EQ(frame->masks, (std::vector<Polygon>{{{0.5f, 1}, {2, 3}, {4, 5.5f}}}));
    EXPECT_TRUE(frame->masksExclude);
    EXPECT_EQ(frame->line, (Polygon{{-1, 2}, {3, 4}}));
    EXPECT_EQ(frame->dumping->objectClass, "object");
    EXPECT_EQ(frame->dumping->thresholdUs, 2'000'000u); // came in milliseconds
    EXPECT_EQ(frame->loitering->thresholdUs, 30'000'000u); // came in microseconds
    EXPECT_EQ(frame->externalSettings.at("externalprocessor.k"), "v");
}

TEST(InputFrame, whatDoesNotFitIsRefused)
{
    const std::string head = R"({"InputIndex":0,"Timestamp":1,"Channels":3,)";
    const struct
    {
        const char* name;
        std::string json;
        std::size_t imageSize;
        bool isTaken;
    } kCases[] = {
        {"just enough", head + R"("Width":8,"Height":4,"Pipelines":[]})", 96, true},
        {"image too short", head + R"("Width":8,"Height":4,"Pipelines":[]})", 95, false},
        {"image too long", head + R"("Width":8,"Height":4,"Pipelines":[]})", 97, false},
        {"no height", head + R"("Width":8,"Pipelines":[]})", 96, false},
        {"no pixels", head + R"("Width":0,"Height":4,"Pipelines":[]})", 0, false},
        {"sizes that wrap", head + R"("Width":2147483648,"Height":2147483648,"Pipelines":[]})", 0,
         false},
        {"no pipelines", head + R"("Width":8,"Height":4})", 96, false},
        {"masks of a wrong type",
         head + R"("Width":8,"Height":4,"Pipelines":[],"Masks":[["a","b"]]})", 96, false}};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(decodeInputFrame(message(c.json, c.imageSize)).has_value(), c.isTaken);
    }
    EXPECT_FALSE(decodeInputFrame({}));
    std::vector<char> cut = message(kWhole, 96);
    cut.resize(cut.size() / 2);
    EXPECT_FALSE(decodeInputFrame(cut));
    EXPECT_FALSE(decodeInputFrame(std::vector<char>(100'000, '\x91'))); // nested without end
}

} // namespace
} // namespace tavo::devkit
