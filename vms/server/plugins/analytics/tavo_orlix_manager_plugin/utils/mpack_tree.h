#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

#include <mpack.h>

// Ownership of MessagePack trees and writers. A tree keeps its first error for good: every read
// after it gives zero, an empty value or a nil node, and MessageTree::finish tells it. Nothing
// throws but for want of memory. One object belongs to one thread at a time, also for reading,
// since a read may flag an error.

namespace tavo::vms_server_plugins::analytics::orlix
{

// What a message may hold; one with more is an error like any other. A value nested deeper than
// kMaxTreeDepth is neither written nor converted.
inline constexpr std::size_t kMaxTreeNodes = 1u << 20;
inline constexpr int kMaxTreeDepth = 128;

struct MpackFree
{
    void operator()(char* data) const { std::free(data); }
};
using MpackBytes = std::unique_ptr<char, MpackFree>;

// A parsed tree with its bytes.
class MpackTree
{
public:
    MpackTree(MpackBytes bytes, std::size_t size);
    ~MpackTree();
    MpackTree(const MpackTree&) = delete;
    MpackTree& operator=(const MpackTree&) = delete;

    // Valid as long as this object; nil when the tree is in error.
    [[nodiscard]] mpack_node_t root();
    [[nodiscard]] mpack_error_t error() const { return m_tree.error; }

    // The value as it is encoded.
    [[nodiscard]] std::span<const char> bytes() const { return {m_bytes.get(), m_size}; }

private:
    MpackBytes m_bytes;
    std::size_t m_size;
    mpack_tree_t m_tree;
};

// Decodes one message after the other out of memory that others own, and keeps its nodes for the
// next, so that a message of ordinary size costs no allocation. Of nodes and their strings nothing
// is valid beyond the next parse or finish, nor beyond the bytes.
class MessageTree
{
public:
    MessageTree();
    ~MessageTree();
    MessageTree(const MessageTree&) = delete;
    MessageTree& operator=(const MessageTree&) = delete;

    // Finishes the previous message. An empty one is in error, and reads as any other in error.
    mpack_error_t parse(std::span<const char> message);

    [[nodiscard]] mpack_node_t root();
    [[nodiscard]] mpack_error_t error() const { return m_tree.error; }

    // Ends the message and gives the error that it was in.
    mpack_error_t finish();

private:
    static constexpr std::size_t kKeptNodes = 2048;

    std::vector<mpack_node_data_t> m_nodes;
    mpack_tree_t m_tree;
};

// A writer into a buffer that grows.
class MpackGrowableWriter
{
public:
    MpackGrowableWriter();
    ~MpackGrowableWriter();
    MpackGrowableWriter(const MpackGrowableWriter&) = delete;
    MpackGrowableWriter& operator=(const MpackGrowableWriter&) = delete;

    // For the mpack_write functions, until close.
    [[nodiscard]] mpack_writer_t* writer() { return &m_writer; }

    // Before the bytes are used. After an error there are none.
    mpack_error_t close();

    [[nodiscard]] std::span<const char> bytes() const { return {m_data, m_size}; }

    // Hands the bytes over; their number is that of bytes() before, which is not asked again.
    [[nodiscard]] MpackBytes takeBytes();

private:
    mpack_writer_t m_writer;
    char* m_data = nullptr; // owned once closed
    std::size_t m_size = 0;
    mpack_error_t m_error = mpack_ok;
    bool m_open = true;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
