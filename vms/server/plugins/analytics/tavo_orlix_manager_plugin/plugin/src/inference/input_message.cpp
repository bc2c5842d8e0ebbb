#include "inference/input_message.h"

#include <cmath>
#include <limits>
#include <string>

#include <mpack.h>

#include "inference/protocol.h"
#include "utils/log_rarely.h"
#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

namespace key = protocol::key;

// All that a message is made of.
struct Contents
{
    const InputImage& image;
    const InputSource& source;
    const FrameSettings& settings;
    std::span<const char> pipelines;
};

void writeText(mpack_writer_t* writer, const std::string& text)
{
    mpack_write_str(writer, text.data(), static_cast<std::uint32_t>(text.size()));
}

std::uint32_t imageSize(const InputImage& image)
{
    return image.width * protocol::kChannels * image.height;
}

// A segment bounds the message, and so the image; it keeps every size below within 32 bits.
bool fitsSegment(const InputImage& image)
{
    const std::uint64_t rowSize = std::uint64_t{image.width} * protocol::kChannels;
    return rowSize == 0 || image.height <= kShmReservedSize / rowSize;
}

std::int64_t roundToPixel(float coordinate)
{
    constexpr float kLimit = 9223372036854775808.0f; // the first float beyond the integers
    const float rounded = std::roundf(coordinate);
    if (std::isnan(rounded))
        return 0;
    if (rounded >= kLimit)
        return std::numeric_limits<std::int64_t>::max();
    if (rounded < -kLimit)
        return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(rounded);
}

std::uint64_t scaleThreshold(std::int64_t seconds, std::uint64_t unitsPerSecond)
{
    if (seconds <= 0)
        return 0;
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    const auto whole = static_cast<std::uint64_t>(seconds);
    return whole > kMax / unitsPerSecond ? kMax : whole * unitsPerSecond;
}

// The header of the binary value alone: the pixels follow it in the segment.
void writeImageHeader(mpack_writer_t* writer, const Contents& contents)
{
    mpack_start_bin(writer, imageSize(contents.image));
    mpack_finish_bin(writer);
}

void writePipelines(mpack_writer_t* writer, const Contents& contents)
{
    if (!contents.pipelines.empty())
    {
        mpack_write_object_bytes(writer, contents.pipelines.data(), contents.pipelines.size());
        return;
    }
    mpack_start_array(writer, 0);
    mpack_finish_array(writer);
}

// Pixels, as floats and not rounded.
void writeMasks(mpack_writer_t* writer, const Contents& contents)
{
    const auto& masks = contents.settings.masks;
    const float scale[] = {
        static_cast<float>(contents.image.width), static_cast<float>(contents.image.height)};
    mpack_start_array(writer, static_cast<std::uint32_t>(masks.size()));
    for (const auto& polygon : masks)
    {
        mpack_start_array(writer, static_cast<std::uint32_t>(polygon.size()));
        for (std::size_t i = 0; i < polygon.size(); ++i)
            mpack_write_float(writer, polygon[i] * scale[i % 2]);
        mpack_finish_array(writer);
    }
    mpack_finish_array(writer);
}

// Pixels, as whole numbers.
void writeLine(mpack_writer_t* writer, const Contents& contents)
{
    const auto& line = contents.settings.line;
    const float scale[] = {
        static_cast<float>(contents.image.width), static_cast<float>(contents.image.height)};
    mpack_start_map(writer, 1);
    mpack_write_cstr(writer, key::kLineCoordinates);
    mpack_start_array(writer, static_cast<std::uint32_t>(line.size()));
    for (std::size_t i = 0; i < line.size(); ++i)
        mpack_write_i64(writer, roundToPixel(line[i] * scale[i % 2]));
    mpack_finish_array(writer);
    mpack_finish_map(writer);
}

void writeWatchedClass(
    mpack_writer_t* writer, const std::string& objectClass, std::uint64_t timeThreshold)
{
    mpack_start_map(writer, 2);
    mpack_write_cstr(writer, key::kObjectClass);
    writeText(writer, objectClass);
    mpack_write_cstr(writer, key::kTimeThreshold);
    mpack_write_u64(writer, timeThreshold);
    mpack_finish_map(writer);
}

void writeDumping(mpack_writer_t* writer, const Contents& contents)
{
    const FrameSettings& settings = contents.settings;
    writeWatchedClass(
        writer, settings.dumpingObjectType, scaleThreshold(settings.dumpingTimeThreshold, 1'000));
}

void writeLoitering(mpack_writer_t* writer, const Contents& contents)
{
    const FrameSettings& settings = contents.settings;
    writeWatchedClass(
        writer, settings.loiterObjectClass,
        scaleThreshold(settings.loiterTimeThreshold, 1'000'000));
}

void writeExternalProcessorSettings(mpack_writer_t* writer, const Contents& contents)
{
    const auto& settings = contents.settings.externalProcessorSettings;
    mpack_start_map(writer, static_cast<std::uint32_t>(settings.size()));
    for (const auto& [name, value] : settings)
    {
        writeText(writer, name);
        writeText(writer, value);
    }
    mpack_finish_map(writer);
}

bool always(const Contents&)
{
    return true;
}

bool hasMasks(const Contents& contents)
{
    return !contents.settings.masks.empty();
}

// The entries of a message, in their order on the wire.
constexpr struct
{
    const char* key;
    bool (*isThere)(const Contents&);
    void (*writeValue)(mpack_writer_t*, const Contents&);
} kEntries[] = {
    {key::kImageData, always, writeImageHeader},
    {key::kPipelines, always, writePipelines},
    {key::kWidth, always, [](auto* writer, auto& c) { mpack_write_u64(writer, c.image.width); }},
    {key::kHeight, always, [](auto* writer, auto& c) { mpack_write_u64(writer, c.image.height); }},
    {key::kChannels, always,
     [](auto* writer, auto&) { mpack_write_u64(writer, protocol::kChannels); }},
    {key::kMessageType, always,
     [](auto* writer, auto&)
     { mpack_write_i64(writer, static_cast<std::int64_t>(protocol::MessageKind::input)); }},
    {key::kInputIndex, always,
     [](auto* writer, auto& c) { mpack_write_u64(writer, c.source.deviceNumber); }},
    {key::kDeviceId, always, [](auto* writer, auto& c) { writeText(writer, c.source.deviceId); }},
    {key::kDeviceName, always,
     [](auto* writer, auto& c) { writeText(writer, c.source.deviceName); }},
    {key::kTimestamp, always,
     [](auto* writer, auto& c) { mpack_write_u64(writer, c.source.timestampUs); }},
    {key::kMasks, hasMasks, writeMasks},
    {key::kMaskType, hasMasks,
     [](auto* writer, auto& c) { writeText(writer, c.settings.maskType); }},
    {key::kLineCrossingSettings, [](auto& c) { return c.settings.line.size() >= 4; }, // two points
     writeLine},
    {key::kDumpingDetectionSettings, [](auto& c) { return c.settings.dumpingEnabled; },
     writeDumping},
    {key::kLoiteringDetectionSettings, [](auto& c) { return c.settings.loiteringEnabled; },
     writeLoitering},
    {key::kExternalProcessorSettings,
     [](auto& c) { return !c.settings.externalProcessorSettings.empty(); },
     writeExternalProcessorSettings},
};

// The whole message but the pixels. Gives where these belong.
std::size_t writeMessage(mpack_writer_t* writer, const Contents& contents)
{
    std::uint32_t count = 0;
    for (const auto& entry : kEntries)
        count += entry.isThere(contents) ? 1 : 0;
    mpack_start_map(writer, count);
    std::size_t imageOffset = 0;
    for (const auto& entry : kEntries)
    {
        if (!entry.isThere(contents))
            continue;
        mpack_write_cstr(writer, entry.key);
        entry.writeValue(writer, contents);
        if (entry.key == key::kImageData)
            imageOffset = mpack_writer_buffer_used(writer);
    }
    mpack_finish_map(writer);
    return imageOffset;
}

// mpack_error_too_big when the buffer's memory does not hold it.
mpack_error_t encodeInto(MessageBuffer& buffer, const Contents& contents)
{
    const auto memory = buffer.memory();
    mpack_writer_t writer;
    mpack_writer_init(&writer, memory.data(), memory.size());
    const std::size_t imageOffset = writeMessage(&writer, contents);
    const std::size_t used = mpack_writer_buffer_used(&writer);
    const mpack_error_t error = mpack_writer_destroy(&writer);
    if (error == mpack_ok)
        buffer.set(used, imageOffset, contents.image);
    return error;
}

} // namespace

bool createInputMessage(
    const InputImage& image, const InputSource& source, const FrameSettings& settings,
    std::span<const char> pipelines, MessageBuffer& buffer)
{
    const Contents contents{image, source, settings, pipelines};
    buffer.clear();
    mpack_error_t error = mpack_error_too_big;
    if (fitsSegment(image))
    {
        error = encodeInto(buffer, contents);
        while (error == mpack_error_too_big && buffer.memory().size() < kShmReservedSize)
        {
            buffer.growMemory();
            error = encodeInto(buffer, contents);
        }
    }
    if (error != mpack_ok || buffer.size() > kShmReservedSize - kShmHeaderSize)
    {
        log_warning("", "Warning: An error occurred writing the data.\n");
        buffer.clear();
        return false;
    }
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
