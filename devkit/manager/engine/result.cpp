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

// A map by name, or a list, under a key; `write` writes a value of it.
void writeMap(mpack_writer_t* writer, const char* name, const auto& values, auto write)
{
    mpack_write_cstr(writer, name);
    mpack_start_map(writer, sizeOf(values));
    for (const auto& [valueName, value] : values)
    {
        writeText(writer, valueName);
        write(value);
    }
    mpack_finish_map(writer);
}

void writeList(mpack_writer_t* writer, const auto& values, auto write)
{
    mpack_start_array(writer, sizeOf(values));
    for (const auto& value : values)
        write(value);
    mpack_finish_array(writer);
}

void writeBoxes(mpack_writer_t* writer, const std::vector<ResultObject>& objects)
{
    mpack_start_bin(writer, sizeOf(objects) * std::uint32_t(orlix::protocol::kBoxBytes));
    for (const ResultObject& object : objects)
    {
        const std::array<float, 4> corners = {
            object.box.x, object.box.y, object.box.right(), object.box.bottom()};
        mpack_write_bytes(writer, reinterpret_cast<const char*>(corners.data()), sizeof corners);
    }
    mpack_finish_bin(writer);
}

void writeMetaData(mpack_writer_t* writer, const std::vector<ResultObject>& objects)
{
    // Of all attributes the names, which are first, or the values.
    const auto writeAttributes = [&](const char* name, auto member)
    {
        mpack_write_cstr(writer, name);
        writeList(
            writer, objects,
            [&](const ResultObject& object)
            {
                writeList(
                    writer, object.attributes,
                    [&](const auto& attribute) { writeText(writer, attribute.*member); });
            });
    };
    using Attribute = std::pair<std::string, std::string>;

    mpack_start_map(writer, 3);
    mpack_write_cstr(writer, key::kObjectIds);
    writeList(
        writer, objects,
        [&](const ResultObject& object)
        { mpack_write_bin(writer, object.id.data(), sizeOf(object.id)); });
    writeAttributes(key::kAttributeKeys, &Attribute::first);
    writeAttributes(key::kAttributeValues, &Attribute::second);
    mpack_finish_map(writer);
}

void writeEvent(mpack_writer_t* writer, const ResultEvent& event)
{
    mpack_start_map(writer, 3);
    for (const auto& [name, text] :
         {std::pair(key::kEventId, &event.id),
          {key::kEventCaption, &event.caption},
          {key::kEventDescription, &event.description}})
    {
        mpack_write_cstr(writer, name);
        writeText(writer, *text);
    }
    mpack_finish_map(writer);
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
    const auto write = [&](auto writeValue)
    { return [=](const auto& value) { writeValue(writer, value); }; };
    writeMap(writer, key::kBoxes, result.objects, write(writeBoxes));
    if (result.hasIds)
        writeMap(writer, key::kObjectsMetaData, result.objects, write(writeMetaData));
    if (hasCounts)
        writeMap(writer, key::kCounts, result.counts, write(mpack_write_u64));
    if (hasEvents)
    {
        mpack_write_cstr(writer, key::kEvents);
        writeList(writer, result.events, write(writeEvent));
    }
    mpack_finish_map(writer);
    if (growable.close() != mpack_ok)
        return {};
    const std::span<const char> bytes = growable.bytes();
    return {bytes.begin(), bytes.end()};
}

} // namespace tavo::devkit
