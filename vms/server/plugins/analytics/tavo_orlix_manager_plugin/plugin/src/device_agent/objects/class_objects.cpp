#include "device_agent/objects/class_objects.h"

#include <algorithm>
#include <cstring>

#include "device_agent/pipelines/node_text.h"
#include "inference/protocol.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

namespace key = protocol::key;

ResultBox readBox(const char* data, std::size_t size)
{
    ResultBox box; // the bytes need not be aligned
    std::memcpy(&box, data, std::min(size, sizeof box));
    return box;
}

sdk::Uuid readId(mpack_node_t node)
{
    sdk::Uuid id;
    if (const char* const data = mpack_node_bin_data(node))
        std::memcpy(id.bytes, data, std::min(mpack_node_bin_size(node), sizeof id.bytes));
    return id;
}

// Pair by pair, as many as there are names.
void readAttributes(mpack_node_t names, mpack_node_t values, TrackedObject& object)
{
    const std::size_t count = mpack_node_array_length(names);
    object.attributes.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::string_view name = readName(mpack_node_array_at(names, i));
        const std::string_view value = readText(mpack_node_array_at(values, i));
        if (mpack_node_error(names) != mpack_ok)
            return;
        object.attributes.emplace_back(name, value);
    }
}

} // namespace

mpack_node_t metadataWithIds(mpack_node_t metadata, const std::string& className)
{
    if (mpack_node_is_missing(metadata))
        return metadata;
    const mpack_node_t entry =
        mpack_node_map_str_optional(metadata, className.data(), className.size());
    if (mpack_node_is_missing(entry))
        return entry;
    const mpack_node_t ids = mpack_node_map_cstr_optional(entry, key::kObjectIds);
    return mpack_node_is_missing(ids) ? ids : entry;
}

std::size_t countClassObjects(mpack_node_t boxes)
{
    constexpr std::size_t kFloatsPerBox = protocol::kBoxBytes / sizeof(float);
    return (mpack_node_bin_size(boxes) / sizeof(float) + kFloatsPerBox - 1) / kFloatsPerBox;
}

std::vector<TrackedObject> readClassObjects(
    mpack_node_t boxes, mpack_node_t metadata, const std::string& className,
    std::uint64_t timestampUs, std::size_t limit)
{
    // Read before anything can put the tree in error: after that, no node tells its data.
    const char* const data = mpack_node_bin_data(boxes);
    const std::size_t size = data ? mpack_node_bin_size(boxes) : 0;
    const std::size_t count = std::min(countClassObjects(boxes), limit);

    const bool hasIds = !mpack_node_is_missing(metadata);
    mpack_node_t ids = metadata;
    mpack_node_t names = metadata;
    mpack_node_t values = metadata;
    bool hasAttributes = false;
    if (hasIds)
    {
        ids = mpack_node_map_cstr(metadata, key::kObjectIds);
        values = mpack_node_map_cstr_optional(metadata, key::kAttributeValues);
        hasAttributes = !mpack_node_is_missing(values);
        if (hasAttributes)
            names = mpack_node_map_cstr(metadata, key::kAttributeKeys);
    }

    std::vector<TrackedObject> objects;
    objects.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        TrackedObject& object = objects.emplace_back();
        object.className = className;
        object.timestampUs = timestampUs;
        const std::size_t offset = i * protocol::kBoxBytes;
        object.box = readBox(data + offset, size - offset);
        if (hasIds)
            object.trackId = readId(mpack_node_array_at(ids, i));
        if (hasAttributes)
            readAttributes(mpack_node_array_at(names, i), mpack_node_array_at(values, i), object);
    }
    return objects;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
