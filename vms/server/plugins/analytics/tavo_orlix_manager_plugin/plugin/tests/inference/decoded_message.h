#pragma once

#include <span>
#include <string>
#include <vector>

#include <mpack.h>

#include "inference/message_buffer.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{

// The message as its receiver has it.
inline std::string joined(const MessageBuffer& message)
{
    std::string bytes(message.size(), '\0');
    message.copyTo(bytes.data());
    return bytes;
}

// A message, decoded. A test that read something wrongly finds the tree in error at its end.
class DecodedMessage
{
public:
    explicit DecodedMessage(std::string bytes) :
        m_bytes(std::move(bytes))
    {
        mpack_tree_init_data(&m_tree, m_bytes.data(), m_bytes.size());
        mpack_tree_parse(&m_tree);
    }
    ~DecodedMessage() { EXPECT_EQ(mpack_ok, mpack_tree_destroy(&m_tree)); }
    DecodedMessage(const DecodedMessage&) = delete;
    DecodedMessage& operator=(const DecodedMessage&) = delete;

    mpack_node_t root() { return mpack_tree_root(&m_tree); }
    mpack_node_t at(const char* key) { return mpack_node_map_cstr(root(), key); }
    mpack_node_t at(const char* key, const char* inner)
    {
        return mpack_node_map_cstr(at(key), inner);
    }
    bool has(const char* key) { return mpack_node_map_contains_cstr(root(), key); }

    std::string text(mpack_node_t node)
    {
        const char* data = mpack_node_data(node);
        return data ? std::string(data, mpack_node_data_len(node)) : std::string();
    }

    std::vector<std::string> keys()
    {
        std::vector<std::string> keys;
        for (std::size_t i = 0; i < mpack_node_map_count(root()); ++i)
            keys.push_back(text(mpack_node_map_key_at(root(), i)));
        return keys;
    }

private:
    const std::string m_bytes;
    mpack_tree_t m_tree;
};

} // namespace tavo::vms_server_plugins::analytics::orlix::test
