#pragma once

#include <memory>
#include <vector>

#include <mpack.h>
#include <yyjson.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

// A device's pipelines as every input message carries them: a parsed MessagePack tree, and its
// bytes as they go on the wire, encoded once when the tree is made instead of with every frame.
// Immutable after construction.
class PipelineTree
{
public:
    // Null when the value cannot be told in MessagePack; the reason is logged.
    [[nodiscard]] static std::unique_ptr<PipelineTree> fromJson(yyjson_val* pipelines);

    ~PipelineTree();
    PipelineTree(const PipelineTree&) = delete;
    PipelineTree& operator=(const PipelineTree&) = delete;

    // Valid as long as this object.
    [[nodiscard]] mpack_node_t root() const;

    // One whole MessagePack value.
    [[nodiscard]] const std::vector<char>& encoded() const { return m_encoded; }

private:
    PipelineTree() = default;

    mpack_tree_t* m_tree = nullptr; // owned, with its buffer
    std::vector<char> m_encoded;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
