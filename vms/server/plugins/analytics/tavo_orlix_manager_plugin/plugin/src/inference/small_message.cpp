#include "inference/small_message.h"

#include <mpack.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

namespace key = protocol::key;

void writeSigned(mpack_writer_t* writer, const char* name, std::int64_t value)
{
    mpack_write_cstr(writer, name);
    mpack_write_i64(writer, value);
}

void writeUnsigned(mpack_writer_t* writer, const char* name, std::uint64_t value)
{
    mpack_write_cstr(writer, name);
    mpack_write_u64(writer, value);
}

} // namespace

template <typename Write>
SmallMessage::SmallMessage(Write write)
{
    mpack_writer_t writer;
    mpack_writer_init(&writer, m_bytes.data(), m_bytes.size());
    write(&writer);
    m_size = static_cast<std::uint32_t>(mpack_writer_buffer_used(&writer));
    mpack_writer_destroy(&writer); // no message here outgrows the buffer
}

SmallMessage SmallMessage::announcement(std::uint64_t deviceNumber, std::uint64_t size)
{
    return SmallMessage(
        [&](mpack_writer_t* writer)
        {
            mpack_start_map(writer, 3);
            writeSigned(
                writer, key::kMessageType, static_cast<std::int64_t>(protocol::MessageKind::input));
            writeUnsigned(writer, key::kInputIndex, deviceNumber);
            writeUnsigned(writer, key::kSize, size);
            mpack_finish_map(writer);
        });
}

SmallMessage SmallMessage::completion()
{
    return SmallMessage(
        [](mpack_writer_t* writer)
        {
            mpack_start_map(writer, 1);
            writeSigned(writer, key::kStatus, protocol::kStatusDone);
            mpack_finish_map(writer);
        });
}

SmallMessage SmallMessage::command(protocol::Command command)
{
    return SmallMessage(
        [&](mpack_writer_t* writer)
        {
            mpack_start_map(writer, 2);
            writeSigned(
                writer, key::kMessageType,
                static_cast<std::int64_t>(protocol::MessageKind::command));
            writeSigned(writer, key::kCommand, static_cast<std::int64_t>(command));
            mpack_finish_map(writer);
        });
}

} // namespace tavo::vms_server_plugins::analytics::orlix
