#pragma once

#include <optional>
#include <span>
#include <string_view>

#include <mpack.h>

#include "inference/protocol.h"
#include "utils/mpack_tree.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// The application's answer to an announcement: the segment to let go of, and the one to write to,
// each of which may be missing. After the first error everything that is read later is missing.
class InputReply
{
public:
    // `message` must live as long as this.
    explicit InputReply(std::span<const char> message);
    ~InputReply();
    InputReply(const InputReply&) = delete;
    InputReply& operator=(const InputReply&) = delete;

    [[nodiscard]] mpack_error_t error() const { return m_tree.error; }

    // The views are valid until the next of these calls. A name that is no text, or too long, is
    // an error and reads as an empty one.
    [[nodiscard]] std::optional<std::string_view> closedSegment();
    [[nodiscard]] std::optional<std::string_view> segment();

    // Reads the closed segment's name as a number, which is an error unless it is one.
    [[nodiscard]] std::uint64_t closedSegmentAsNumber();

private:
    std::optional<std::string_view> readName(const char* key);

    // A reply is a map of two; one with more keys takes what it needs from the heap.
    static constexpr std::size_t kNodes = 16;

    mpack_tree_t m_tree;
    mpack_node_data_t m_nodes[kNodes];
    char m_name[protocol::kMaxNameBytes + 1];
};

} // namespace tavo::vms_server_plugins::analytics::orlix
