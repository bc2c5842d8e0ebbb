#pragma once

#include <memory>
#include <span>

#include <mpack.h>
#include <yyjson.h>

#include "utils/mpack_tree.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// A device's pipelines as every input message carries them: a parsed MessagePack tree, and its
// bytes as they go on the wire, encoded once when the tree is made instead of with every frame.
class PipelineTree
{
public:
    // Null when the value cannot be told in MessagePack; the reason is logged.
    [[nodiscard]] static std::unique_ptr<PipelineTree> fromJson(yyjson_val* pipelines);

    // Valid as long as this object. One thread at a time: a read may flag an error.
    [[nodiscard]] mpack_node_t root() { return m_tree->root(); }

    // One whole MessagePack value. Valid as long as this object, and never changed.
    [[nodiscard]] std::span<const char> encoded() const { return m_tree->bytes(); }

private:
    explicit PipelineTree(std::unique_ptr<MpackTree> tree);

    const std::unique_ptr<MpackTree> m_tree;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
