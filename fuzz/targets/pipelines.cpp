#include <algorithm>

#include "device_agent/pipelines/model_nms.h"
#include "device_agent/pipelines/pipeline_parsing.h"
#include "fuzz_target.h"
#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/json_mpack.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

bool areSameBytes(std::span<const char> a, std::span<const char> b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

void checkTree(yyjson_val* pipelines)
{
    const auto tree = json_to_mpack_tree(pipelines);
    if (!tree)
        return;
    const auto clone = mpack_node_clone(tree->root());
    FUZZ_CHECK(areSameBytes(clone->bytes(), tree->bytes()));
    MessageTree again; // as the application reads it
    FUZZ_CHECK(again.parse(tree->bytes()) == mpack_ok);

    std::vector<std::string> processors;
    std::vector<ModelNmsEntry> modelNms;
    std::string description;
    parsePipelineNode(tree->root(), processors, {}, modelNms, description, 0);
    for (const ModelNmsEntry& entry : modelNms)
        FUZZ_CHECK(entry.modelName == entry.modelUUID);
}

// A new sensitivity for the first model leaves as many nodes as there were.
void checkPatch(yyjson_val* pipelines)
{
    if (!yyjson_is_arr(pipelines))
        return;
    const std::string model(jsonText(jsonMember(yyjson_arr_get_first(pipelines), "modelUUID")));
    const JsonDocument patch = parseJson(jsonToText(makeNmsPatch(pipelines, {{model, 0.25f}})));
    yyjson_val* const patched =
        jsonMember(pluginParameters(yyjson_doc_get_root(patch.get())), "pipelines");
    FUZZ_CHECK(yyjson_arr_size(patched) == yyjson_arr_size(pipelines));
    std::size_t index = 0;
    std::size_t count = 0;
    yyjson_val* node = nullptr;
    yyjson_arr_foreach(patched, index, count, node)
    {
        if (yyjson_is_obj(node) && jsonText(jsonMember(node, "modelUUID")) == model)
            FUZZ_CHECK(yyjson_get_num(jsonMember(node, "modelNMS")) == 0.25);
    }
}

} // namespace

// A device's pipelines as the cloud writes them: into a tree and what it means, and back.
void tavo::fuzz::run(std::string_view text)
{
    const JsonDocument document = parseJson(text);
    if (!document)
        return;
    yyjson_val* const root = yyjson_doc_get_root(document.get());
    checkTree(root);
    checkPatch(root);
}
