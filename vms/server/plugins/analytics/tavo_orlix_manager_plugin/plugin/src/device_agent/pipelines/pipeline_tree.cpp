#include "device_agent/pipelines/pipeline_tree.h"

#include <utility>

#include "utils/json_mpack.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::unique_ptr<PipelineTree> PipelineTree::fromJson(yyjson_val* pipelines)
{
    auto tree = json_to_mpack_tree(pipelines);
    if (!tree || tree->error() != mpack_ok)
        return nullptr;
    return std::unique_ptr<PipelineTree>(new PipelineTree(std::move(tree)));
}

PipelineTree::PipelineTree(std::unique_ptr<MpackTree> tree) :
    m_tree(std::move(tree))
{}

} // namespace tavo::vms_server_plugins::analytics::orlix
