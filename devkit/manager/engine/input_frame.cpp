#include "engine/input_frame.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "inference/protocol.h"
#include "utils/log.h"
#include "utils/mpack_tree.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;
namespace key = orlix::protocol::key;

namespace
{

// As the plugin's pipeline descriptions and the cloud name these.
constexpr char kModelUuid[] = "modelUUID";
constexpr char kModelNms[] = "modelNMS";
constexpr char kPreprocessor[] = "Preprocessor";
constexpr char kPostprocessor[] = "Postprocessor";
constexpr char kChains[] = "chains";
constexpr char kExclusive[] = "exclusive";

constexpr std::uint32_t kMaxSide = 32'767; // what OpenCV's drawing and scaling can address
constexpr std::uint64_t kUsPerMs = 1000;

std::string textOf(mpack_node_t node)
{
    const char* const data = mpack_node_str(node);
    return data ? std::string(data, mpack_node_strlen(node)) : std::string();
}

std::string optionalText(mpack_node_t map, const char* name)
{
    const mpack_node_t node = mpack_node_map_cstr_optional(map, name);
    return mpack_node_type(node) == mpack_type_str ? textOf(node) : std::string();
}

// Flat x0, y0, x1, y1, ...; an odd number at the end is left out.
Polygon readPoints(mpack_node_t array)
{
    Polygon points;
    const std::size_t count = mpack_node_array_length(array) / 2;
    for (std::size_t i = 0; i < count; ++i)
    {
        points.push_back(
            {mpack_node_float(mpack_node_array_at(array, 2 * i)),
             mpack_node_float(mpack_node_array_at(array, 2 * i + 1))});
    }
    return points;
}

// Arrays nest, and a node may hold others; what is neither is left out, as the plugin does.
void readPipelines(mpack_node_t node, int depth, std::vector<PipelineNode>& nodes)
{
    if (depth > orlix::kMaxTreeDepth)
        return;
    if (mpack_node_type(node) == mpack_type_array)
    {
        for (std::size_t i = 0; i < mpack_node_array_length(node); ++i)
            readPipelines(mpack_node_array_at(node, i), depth + 1, nodes);
        return;
    }
    if (mpack_node_type(node) != mpack_type_map)
        return;
    PipelineNode read;
    read.modelUuid = optionalText(node, kModelUuid);
    const mpack_node_t nms = mpack_node_map_cstr_optional(node, kModelNms);
    if (!mpack_node_is_missing(nms))
        read.nms = std::clamp(mpack_node_float(nms), 0.0f, 1.0f);
    read.preprocessor = optionalText(node, kPreprocessor);
    read.postprocessor = optionalText(node, kPostprocessor);
    nodes.push_back(std::move(read));
    const mpack_node_t chains = mpack_node_map_cstr_optional(node, kChains);
    if (!mpack_node_is_missing(chains))
        readPipelines(chains, depth + 1, nodes);
}

void readMasks(mpack_node_t root, InputFrame& frame)
{
    const mpack_node_t masks = mpack_node_map_cstr_optional(root, key::kMasks);
    if (mpack_node_is_missing(masks))
        return;
    for (std::size_t i = 0; i < mpack_node_array_length(masks); ++i)
    {
        Polygon mask = readPoints(mpack_node_array_at(masks, i));
        if (mask.size() > 2) // a figure that was never drawn does not blind the camera
            frame.masks.push_back(std::move(mask));
    }
    frame.masksExclude = optionalText(root, key::kMaskType) == kExclusive;
}

void readLine(mpack_node_t root, InputFrame& frame)
{
    const mpack_node_t settings = mpack_node_map_cstr_optional(root, key::kLineCrossingSettings);
    if (mpack_node_is_missing(settings))
        return;
    Polygon points = readPoints(mpack_node_map_cstr(settings, key::kLineCoordinates));
    if (points.size() > 1)
        frame.line = std::move(points);
}

std::optional<StayWatch> readWatch(mpack_node_t root, const char* name, std::uint64_t usPerUnit)
{
    const mpack_node_t settings = mpack_node_map_cstr_optional(root, name);
    if (mpack_node_is_missing(settings))
        return std::nullopt;
    const std::uint64_t threshold =
        mpack_node_u64(mpack_node_map_cstr(settings, key::kTimeThreshold));
    return StayWatch{
        textOf(mpack_node_map_cstr(settings, key::kObjectClass)),
        threshold > UINT64_MAX / usPerUnit ? UINT64_MAX : threshold * usPerUnit};
}

void readExternalSettings(mpack_node_t root, InputFrame& frame)
{
    const mpack_node_t settings =
        mpack_node_map_cstr_optional(root, key::kExternalProcessorSettings);
    if (mpack_node_is_missing(settings))
        return;
    for (std::size_t i = 0; i < mpack_node_map_count(settings); ++i)
    {
        frame.externalSettings[textOf(mpack_node_map_key_at(settings, i))] =
            textOf(mpack_node_map_value_at(settings, i));
    }
}

// False when the image is not as large as it says.
bool readImage(mpack_node_t root, InputFrame& frame)
{
    const std::uint32_t width = mpack_node_u32(mpack_node_map_cstr(root, key::kWidth));
    const std::uint32_t height = mpack_node_u32(mpack_node_map_cstr(root, key::kHeight));
    const std::uint32_t channels = mpack_node_u32(mpack_node_map_cstr(root, key::kChannels));
    const mpack_node_t data = mpack_node_map_cstr(root, key::kImageData);
    const char* const pixels = mpack_node_bin_data(data);
    if (!pixels || width == 0 || width > kMaxSide || height == 0 || height > kMaxSide ||
        channels != orlix::protocol::kChannels ||
        mpack_node_bin_size(data) != std::size_t(width) * height * channels)
    {
        return false;
    }
    frame.rgb = {
        reinterpret_cast<const std::uint8_t*>(pixels),
        {static_cast<int>(width), static_cast<int>(height)}};
    return true;
}

} // namespace

bool InputFrame::hasProcessor(std::string_view name) const
{
    return std::any_of(
        pipeline.begin(), pipeline.end(),
        [&](const PipelineNode& node)
        { return node.preprocessor == name || node.postprocessor == name; });
}

std::optional<InputFrame> decodeInputFrame(std::span<const char> message)
{
    thread_local orlix::MessageTree tree;
    tree.parse(message);
    const mpack_node_t root = tree.root();
    InputFrame frame;
    const bool isImageWhole = readImage(root, frame);
    frame.inputIndex = mpack_node_u64(mpack_node_map_cstr(root, key::kInputIndex));
    frame.timestampUs = mpack_node_u64(mpack_node_map_cstr(root, key::kTimestamp));
    readPipelines(mpack_node_map_cstr(root, key::kPipelines), 0, frame.pipeline);
    readMasks(root, frame);
    readLine(root, frame);
    frame.dumping = readWatch(root, key::kDumpingDetectionSettings, kUsPerMs);
    frame.loitering = readWatch(root, key::kLoiteringDetectionSettings, 1);
    readExternalSettings(root, frame);
    const mpack_error_t error = tree.finish();
    if (error != mpack_ok)
    {
        orlix::log_info("Warning! Input message is wrong: %s\n", mpack_error_to_string(error));
        return std::nullopt;
    }
    if (!isImageWhole)
    {
        orlix::log_info("Warning! Image of the input message is not of the size it says.\n");
        return std::nullopt;
    }
    return frame;
}

} // namespace tavo::devkit
