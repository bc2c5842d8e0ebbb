#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <mpack.h>

#include "utils/mpack_tree.h"

// Messages as the application writes them, value by value.

namespace tavo::vms_server_plugins::analytics::orlix::test
{

using Value = std::function<void(mpack_writer_t*)>;
using Entries = std::vector<std::pair<std::string, Value>>;

inline Value number(std::uint64_t value)
{
    return [=](mpack_writer_t* writer) { mpack_write_u64(writer, value); };
}

inline Value real(float value)
{
    return [=](mpack_writer_t* writer) { mpack_write_float(writer, value); };
}

inline Value text(const std::string& value)
{
    return [=](mpack_writer_t* writer)
    { mpack_write_str(writer, value.data(), static_cast<std::uint32_t>(value.size())); };
}

inline Value binary(const std::string& value)
{
    return [=](mpack_writer_t* writer)
    { mpack_write_bin(writer, value.data(), static_cast<std::uint32_t>(value.size())); };
}

// Four floats a box.
inline Value boxes(const std::vector<float>& floats)
{
    return binary(
        std::string(reinterpret_cast<const char*>(floats.data()), floats.size() * sizeof(float)));
}

inline Value array(const std::vector<Value>& values)
{
    return [=](mpack_writer_t* writer)
    {
        mpack_start_array(writer, static_cast<std::uint32_t>(values.size()));
        for (const Value& value : values)
            value(writer);
        mpack_finish_array(writer);
    };
}

inline Value map(const Entries& entries)
{
    return [=](mpack_writer_t* writer)
    {
        mpack_start_map(writer, static_cast<std::uint32_t>(entries.size()));
        for (const auto& [key, value] : entries)
        {
            text(key)(writer);
            value(writer);
        }
        mpack_finish_map(writer);
    };
}

// A value, encoded and parsed as a received message is.
class Message
{
public:
    explicit Message(const Value& value)
    {
        value(m_writer.writer());
        (void)m_writer.close();
        (void)m_tree.parse(m_writer.bytes());
    }

    [[nodiscard]] mpack_node_t root() { return m_tree.root(); }
    [[nodiscard]] mpack_error_t error() const { return m_tree.error(); }

private:
    MpackGrowableWriter m_writer;
    MessageTree m_tree;
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
