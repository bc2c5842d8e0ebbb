#include "scene.h"

#include "inference/protocol.h"
#include "utils/mpack_tree.h"

namespace tavo::bench
{

namespace key = vms_server_plugins::analytics::orlix::protocol::key;

std::vector<TrackedObject> scatteredObjects(
    std::size_t count, float width, float height, std::uint64_t timestampUs)
{
    std::mt19937 random(static_cast<std::mt19937::result_type>(timestampUs));
    std::uniform_real_distribution<float> x(0, 1920 - width);
    std::uniform_real_distribution<float> y(0, 1080 - height);
    std::vector<TrackedObject> objects(count);
    for (TrackedObject& object : objects)
    {
        const float left = x(random);
        const float top = y(random);
        object.box = {left, top, left + width, top + height};
        object.className = kClass;
        object.timestampUs = timestampUs;
    }
    return objects;
}

std::string encodedResult(
    const std::vector<TrackedObject>& objects, std::uint64_t timestampUs, bool withIds)
{
    vms_server_plugins::analytics::orlix::MpackGrowableWriter growable;
    mpack_writer_t* const writer = growable.writer();
    mpack_start_map(writer, withIds ? 6 : 5);
    mpack_write_cstr(writer, key::kInputIndex);
    mpack_write_u64(writer, 0);
    mpack_write_cstr(writer, key::kTimestamp);
    mpack_write_u64(writer, timestampUs);
    mpack_write_cstr(writer, key::kWidth);
    mpack_write_i64(writer, 1920);
    mpack_write_cstr(writer, key::kHeight);
    mpack_write_i64(writer, 1080);
    mpack_write_cstr(writer, key::kBoxes);
    mpack_start_map(writer, 1);
    mpack_write_cstr(writer, kClass);
    mpack_start_bin(writer, static_cast<std::uint32_t>(objects.size() * sizeof(ResultBox)));
    for (const auto& object : objects)
        mpack_write_bytes(writer, reinterpret_cast<const char*>(&object.box), sizeof object.box);
    mpack_finish_bin(writer);
    mpack_finish_map(writer);
    if (withIds)
    {
        mpack_write_cstr(writer, key::kObjectsMetaData);
        mpack_start_map(writer, 1);
        mpack_write_cstr(writer, kClass);
        mpack_start_map(writer, 1);
        mpack_write_cstr(writer, key::kObjectIds);
        mpack_start_array(writer, static_cast<std::uint32_t>(objects.size()));
        for (std::size_t i = 0; i < objects.size(); ++i)
            mpack_write_bin(writer, "0123456789abcdef", 16);
        mpack_finish_array(writer);
        mpack_finish_map(writer);
        mpack_finish_map(writer);
    }
    mpack_finish_map(writer);
    growable.close();
    return {growable.bytes().data(), growable.bytes().size()};
}

} // namespace tavo::bench
