#include "engine/result.h"

#include <array>
#include <span>

#include "inference/protocol.h"
#include "utils/mpack_tree.h"

namespace tavo::devkit
{

namespace orlix = vms_server_plugins::analytics::orlix;
namespace key = orlix::protocol::key;

namespace
{

std::uint32_t sizeOf(const auto& container)
{
    return static_cast<std::uint32_t>(container.size());
}

void writeText(mpack_writer_t* writer, const std::string& text)
{
    mpack_write_str(writer, text.data(), sizeOf(text));
}

void writeBoxes(mpack_writer_t* writer, const Result& result)
{
    mpack_write_cstr(writer, key::kBoxes);
    mpack_start_map(writer, sizeOf(result.objects));
    for (const auto& [className, objects] : result.objects)
    {
        writeText(writer, className);
        mpack_start_bin(writer, sizeOf(objects) * std::uint32_t(orlix::protocol::kBoxBytes));
        for (const ResultObject& object : objects)
        {
            const std::array<float, 4> corners = {
                object.box.x, object.box.y, object.box.right(), object.box.bottom()};
            mpack_write_bytes(
                writer, reinterpret_cast<const char*>(corners.data()), sizeof corners);
        }
        mpack_finish_bin(writer);
    }
    mpack_finish_map(writer);
}

// One of the two names of an attribute list: names with `member` first, values with second.
template <typename Member>
void writeAttributes(
    mpack_writer_t* writer, const char* name, const std::vector<ResultObject>& objects,
    Member member)
{
    mpack_write_cstr(writer, name);
    mpack_start_array(writer, sizeOf(objects));
    for (const ResultObject& object : objects)
    {
        mpack_start_array(writer, sizeOf(object.attributes));
        for (const auto& attribute : object.attributes)
            writeText(writer, attribute.*member);
        mpack_finish_array(writer);
    }
    mpack_finish_array(writer);
}

void writeIds(mpack_writer_t* writer, const Result& result)
{
    using Attribute = std::pair<std::string, std::string>;

    mpack_write_cstr(writer, key::kObjectsMetaData);
    mpack_start_map(writer, sizeOf(result.objects));
    for (const auto& [className, objects] : result.objects)
    {
        writeText(writer, className);
        mpack_start_map(writer, 3);
        mpack_write_cstr(writer, key::kObjectIds);
        mpack_start_array(writer, sizeOf(objects));
        for (const ResultObject& object : objects)
            mpack_write_bin(writer, object.id.data(), sizeOf(object.id));
        mpack_finish_array(writer);
        writeAttributes(writer, key::kAttributeKeys, objects, &Attribute::first);
        writeAttributes(writer, key::kAttributeValues, objects, &Attribute::second);
        mpack_finish_map(writer);
    }
    mpack_finish_map(writer);
}

void writeCounts(mpack_writer_t* writer, const Result& result)
{
    mpack_write_cstr(writer, key::kCounts);
    mpack_start_map(writer, sizeOf(result.counts));
    for (const auto& [className, count] : result.counts)
    {
        writeText(writer, className);
        mpack_write_u64(writer, count);
    }
    mpack_finish_map(writer);
}

void writeEvents(mpack_writer_t* writer, const Result& result)
{
    mpack_write_cstr(writer, key::kEvents);
    mpack_start_array(writer, sizeOf(result.events));
    for (const ResultEvent& event : result.events)
    {
        mpack_start_map(writer, 3);
        mpack_write_cstr(writer, key::kEventId);
        writeText(writer, event.id);
        mpack_write_cstr(writer, key::kEventCaption);
        writeText(writer, event.caption);
        mpack_write_cstr(writer, key::kEventDescription);
        writeText(writer, event.description);
        mpack_finish_map(writer);
    }
    mpack_finish_array(writer);
}

} // namespace

std::vector<char> encodeResult(const Result& result)
{
    const bool hasCounts = !result.counts.empty();
    const bool hasEvents = !result.events.empty();

    orlix::MpackGrowableWriter growable;
    mpack_writer_t* const writer = growable.writer();
    mpack_start_map(writer, 5u + result.hasIds + hasCounts + hasEvents);
    mpack_write_cstr(writer, key::kInputIndex);
    mpack_write_u64(writer, result.inputIndex);
    mpack_write_cstr(writer, key::kTimestamp);
    mpack_write_u64(writer, result.timestampUs);
    mpack_write_cstr(writer, key::kWidth);
    mpack_write_i64(writer, result.imageSize.width);
    mpack_write_cstr(writer, key::kHeight);
    mpack_write_i64(writer, result.imageSize.height);
    writeBoxes(writer, result);
    if (result.hasIds)
        writeIds(writer, result);
    if (hasCounts)
        writeCounts(writer, result);
    if (hasEvents)
        writeEvents(writer, result);
    mpack_finish_map(writer);
    if (growable.close() != mpack_ok)
        return {};
    const std::span<const char> bytes = growable.bytes();
    return {bytes.begin(), bytes.end()};
}

} // namespace tavo::devkit
