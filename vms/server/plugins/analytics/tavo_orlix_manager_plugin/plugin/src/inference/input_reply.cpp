#include "inference/input_reply.h"

#include <cstdint>

namespace tavo::vms_server_plugins::analytics::orlix
{

InputReply::InputReply(std::span<const char> message)
{
    mpack_tree_init_pool(&m_tree, message.data(), message.size(), m_nodes, kNodes);
    mpack_tree_parse(&m_tree);
    if (m_tree.error != mpack_error_too_big)
        return;
    mpack_tree_destroy(&m_tree);
    mpack_tree_init_data(&m_tree, message.data(), message.size());
    mpack_tree_set_limits(&m_tree, SIZE_MAX, kMaxTreeNodes);
    mpack_tree_parse(&m_tree);
}

InputReply::~InputReply()
{
    mpack_tree_destroy(&m_tree);
}

std::optional<std::string_view> InputReply::closedSegment()
{
    return readName(protocol::key::kCloseSegment);
}

std::optional<std::string_view> InputReply::segment()
{
    return readName(protocol::key::kSegment);
}

std::uint64_t InputReply::closedSegmentAsNumber()
{
    return mpack_node_u64(
        mpack_node_map_cstr(mpack_tree_root(&m_tree), protocol::key::kCloseSegment));
}

std::optional<std::string_view> InputReply::readName(const char* key)
{
    const mpack_node_t root = mpack_tree_root(&m_tree);
    if (!mpack_node_map_contains_cstr(root, key))
        return std::nullopt;
    mpack_node_copy_cstr(mpack_node_map_cstr(root, key), m_name, sizeof m_name);
    return std::string_view(m_name);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
