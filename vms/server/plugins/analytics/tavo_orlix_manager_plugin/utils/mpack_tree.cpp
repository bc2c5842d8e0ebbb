#include "utils/mpack_tree.h"

#include <utility>

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

// MPack asks for memory, also where there are no bytes in it.
const char* notNull(const char* data)
{
    return data ? data : "";
}

void parseAllocating(mpack_tree_t& tree, const char* data, std::size_t size)
{
    mpack_tree_init_data(&tree, notNull(data), size);
    mpack_tree_set_limits(&tree, size, kMaxTreeNodes);
    mpack_tree_parse(&tree);
}

} // namespace

MpackTree::MpackTree(MpackBytes bytes, std::size_t size) :
    m_bytes(std::move(bytes)),
    m_size(size)
{
    parseAllocating(m_tree, m_bytes.get(), m_size);
}

MpackTree::~MpackTree()
{
    mpack_tree_destroy(&m_tree);
}

mpack_node_t MpackTree::root()
{
    return mpack_tree_root(&m_tree);
}

MessageTree::MessageTree() :
    m_nodes(kKeptNodes)
{
    mpack_tree_init_error(&m_tree, mpack_error_invalid);
}

MessageTree::~MessageTree()
{
    finish();
}

mpack_error_t MessageTree::parse(std::span<const char> message)
{
    finish();
    mpack_tree_init_pool(
        &m_tree, notNull(message.data()), message.size(), m_nodes.data(), m_nodes.size());
    mpack_tree_parse(&m_tree);
    if (error() == mpack_error_too_big)
    {
        mpack_tree_destroy(&m_tree);
        parseAllocating(m_tree, message.data(), message.size());
    }
    return error();
}

mpack_node_t MessageTree::root()
{
    return mpack_tree_root(&m_tree);
}

mpack_error_t MessageTree::finish()
{
    const mpack_error_t error = mpack_tree_destroy(&m_tree);
    mpack_tree_init_error(&m_tree, mpack_error_invalid);
    return error;
}

MpackGrowableWriter::MpackGrowableWriter()
{
    mpack_writer_init_growable(&m_writer, &m_data, &m_size);
}

MpackGrowableWriter::~MpackGrowableWriter()
{
    close();
    std::free(m_data);
}

mpack_error_t MpackGrowableWriter::close()
{
    if (m_open)
    {
        m_open = false;
        m_error = mpack_writer_destroy(&m_writer);
    }
    return m_error;
}

MpackBytes MpackGrowableWriter::takeBytes()
{
    return MpackBytes(std::exchange(m_data, nullptr));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
