#include "inference/input_message.h"

#include <cmath>
#include <limits>

#include <mpack.h>

#include "inference/protocol.h"
#include "utils/log.h"
#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

namespace key = protocol::key;

void writeText(mpack_writer_t* writer, const std::string& text)
{
    mpack_write_str(writer, text.data(), static_cast<std::uint32_t>(text.size()));
}

void writeTextEntry(mpack_writer_t* writer, const char* name, const std::string& text)
{
    mpack_write_cstr(writer, name);
    writeText(writer, text);
}

void writeNumberEntry(mpack_writer_t* writer, const char* name, std::uint64_t number)
{
    mpack_write_cstr(writer, name);
    mpack_write_u64(writer, number);
}

std::uint32_t imageSize(const InputImage& image)
{
    return image.width * protocol::kChannels * image.height;
}

// A segment bounds the message, and so the image; it keeps every size below within 32 bits.
bool fitsSegment(const InputImage& image)
{
    const std::uint64_t rowSize = std::uint64_t{image.width} * protocol::kChannels;
    return rowSize == 0 || image.height <= (kShmReservedSize - kShmHeaderSize) / rowSize;
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

bool hasLine(const DeviceSettings& settings)
{
    return settings.line.size() >= 4; // two points
}

// The header of the binary value alone. Gives where the pixels belong.
std::size_t writeImageHeader(mpack_writer_t* writer, const InputImage& image)
{
    mpack_write_cstr(writer, key::kImageData);
    mpack_start_bin(writer, imageSize(image));
    const std::size_t offset = mpack_writer_buffer_used(writer);
    mpack_finish_bin(writer);
    return offset;
}

void writePipelines(mpack_writer_t* writer, const PipelineTree* pipelines)
{
    mpack_write_cstr(writer, key::kPipelines);
    if (pipelines)
    {
        const auto encoded = pipelines->encoded();
        mpack_write_object_bytes(writer, encoded.data(), encoded.size());
        return;
    }
    mpack_start_array(writer, 0);
    mpack_finish_array(writer);
}

void writeFrame(mpack_writer_t* writer, const InputImage& image, const InputSource& source)
{
    writeNumberEntry(writer, key::kWidth, image.width);
    writeNumberEntry(writer, key::kHeight, image.height);
    writeNumberEntry(writer, key::kChannels, protocol::kChannels);
    mpack_write_cstr(writer, key::kMessageType);
    mpack_write_i64(writer, static_cast<std::int64_t>(protocol::MessageType::input));
    writeNumberEntry(writer, key::kInputIndex, source.deviceNumber);
    writeTextEntry(writer, key::kDeviceId, source.deviceId);
    writeTextEntry(writer, key::kDeviceName, source.deviceName);
    writeNumberEntry(writer, key::kTimestamp, source.timestampUs);
}

// Pixels, as floats and not rounded.
void writeMasks(mpack_writer_t* writer, const InputImage& image, const DeviceSettings& settings)
{
    const float scale[] = {static_cast<float>(image.width), static_cast<float>(image.height)};
    mpack_write_cstr(writer, key::kMasks);
    mpack_start_array(writer, static_cast<std::uint32_t>(settings.masks.size()));
    for (const auto& polygon : settings.masks)
    {
        mpack_start_array(writer, static_cast<std::uint32_t>(polygon.size()));
        for (std::size_t i = 0; i < polygon.size(); ++i)
            mpack_write_float(writer, polygon[i] * scale[i % 2]);
        mpack_finish_array(writer);
    }
    mpack_finish_array(writer);
    writeTextEntry(writer, key::kMaskType, settings.maskType);
}

// Pixels, as whole numbers.
void writeLine(mpack_writer_t* writer, const InputImage& image, const DeviceSettings& settings)
{
    const float scale[] = {static_cast<float>(image.width), static_cast<float>(image.height)};
    mpack_write_cstr(writer, key::kLineCrossingSettings);
    mpack_start_map(writer, 1);
    mpack_write_cstr(writer, key::kLineCoordinates);
    mpack_start_array(writer, static_cast<std::uint32_t>(settings.line.size()));
    for (std::size_t i = 0; i < settings.line.size(); ++i)
        mpack_write_i64(writer, roundToPixel(settings.line[i] * scale[i % 2]));
    mpack_finish_array(writer);
    mpack_finish_map(writer);
}

void writeWatchedClass(
    mpack_writer_t* writer, const char* name, const std::string& objectClass,
    std::uint64_t timeThreshold)
{
    mpack_write_cstr(writer, name);
    mpack_start_map(writer, 2);
    writeTextEntry(writer, key::kObjectClass, objectClass);
    writeNumberEntry(writer, key::kTimeThreshold, timeThreshold);
    mpack_finish_map(writer);
}

void writeExternalProcessorSettings(mpack_writer_t* writer, const DeviceSettings& settings)
{
    mpack_write_cstr(writer, key::kExternalProcessorSettings);
    mpack_start_map(writer, static_cast<std::uint32_t>(settings.externalProcessorSettings.size()));
    for (const auto& [name, value] : settings.externalProcessorSettings)
    {
        writeText(writer, name);
        writeText(writer, value);
    }
    mpack_finish_map(writer);
}

std::uint32_t entryCount(const DeviceSettings& settings)
{
    std::uint32_t count = 10;
    if (!settings.masks.empty())
        count += 2; // with their type
    if (hasLine(settings))
        ++count;
    if (settings.dumpingEnabled)
        ++count;
    if (settings.loiteringEnabled)
        ++count;
    if (!settings.externalProcessorSettings.empty())
        ++count;
    return count;
}

// The whole message but the pixels. Gives where these belong.
std::size_t writeMessage(
    mpack_writer_t* writer, const InputImage& image, const InputSource& source,
    const DeviceSettings& settings, const PipelineTree* pipelines)
{
    mpack_start_map(writer, entryCount(settings));
    const std::size_t imageOffset = writeImageHeader(writer, image);
    writePipelines(writer, pipelines);
    writeFrame(writer, image, source);
    if (!settings.masks.empty())
        writeMasks(writer, image, settings);
    if (hasLine(settings))
        writeLine(writer, image, settings);
    if (settings.dumpingEnabled)
    {
        writeWatchedClass(
            writer, key::kDumpingDetectionSettings, settings.dumpingObjectType,
            scaleThreshold(settings.dumpingTimeThreshold, 1'000));
    }
    if (settings.loiteringEnabled)
    {
        writeWatchedClass(
            writer, key::kLoiteringDetectionSettings, settings.loiterObjectClass,
            scaleThreshold(settings.loiterTimeThreshold, 1'000'000));
    }
    if (!settings.externalProcessorSettings.empty())
        writeExternalProcessorSettings(writer, settings);
    mpack_finish_map(writer);
    return imageOffset;
}

// mpack_error_too_big when the buffer's memory does not hold it.
mpack_error_t encodeInto(
    MessageBuffer& buffer, const InputImage& image, const InputSource& source,
    const DeviceSettings& settings, const PipelineTree* pipelines)
{
    const auto memory = buffer.memory();
    mpack_writer_t writer;
    mpack_writer_init(&writer, memory.data(), memory.size());
    const std::size_t imageOffset = writeMessage(&writer, image, source, settings, pipelines);
    const std::size_t used = mpack_writer_buffer_used(&writer);
    const mpack_error_t error = mpack_writer_destroy(&writer);
    if (error == mpack_ok)
        buffer.set(used, imageOffset, image);
    return error;
}

} // namespace

bool createInputMessage(
    const InputImage& image, const InputSource& source, const DeviceSettings& settings,
    const PipelineTree* pipelines, MessageBuffer& buffer)
{
    buffer.clear();
    mpack_error_t error = mpack_error_too_big;
    if (fitsSegment(image))
    {
        error = encodeInto(buffer, image, source, settings, pipelines);
        while (error == mpack_error_too_big && buffer.memory().size() < kShmReservedSize)
        {
            buffer.growMemory();
            error = encodeInto(buffer, image, source, settings, pipelines);
        }
    }
    if (error != mpack_ok || buffer.size() > kShmReservedSize - kShmHeaderSize)
    {
        log_info("Warning: An error occurred writing the data.\n");
        buffer.clear();
        return false;
    }
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
