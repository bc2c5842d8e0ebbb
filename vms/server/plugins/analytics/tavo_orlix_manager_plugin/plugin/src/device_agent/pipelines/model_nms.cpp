#include "device_agent/pipelines/model_nms.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// As many as the pipelines of a device were ever counted to.
constexpr std::size_t kMaxModels = 256;

float nmsOf(int percent, float present)
{
    if (percent == 0)
        return present;
    return static_cast<float>(1.0 - static_cast<double>(static_cast<float>(percent) / 100.0f));
}

} // namespace

NmsChanges readNmsChanges(
    const std::vector<ModelNmsEntry>& entries, const std::map<std::string, std::string>& values)
{
    NmsChanges result;
    const std::size_t count = std::min(entries.size(), kMaxModels);
    for (std::size_t i = 0; i < count; ++i)
    {
        const ModelNmsEntry& entry = entries[i];
        const auto value = values.find(kModelNmsPrefix + entry.modelUUID);
        if (value == values.end())
            break;
        const float nms = nmsOf(textToInt(value->second, 0), entry.nms);
        if (std::fabs(nms - entry.nms) > std::numeric_limits<float>::epsilon())
        {
            log_debug("Detected change in model NMS.\n");
            result.changed = true;
        }
        result.values.emplace(entry.modelUUID, nms);
    }
    return result;
}

MutableJsonDocument makeNmsPatch(
    yyjson_val* pipelines, const std::map<std::string, float>& newValues)
{
    auto [document, tavoAi] = makeParametersDocument();
    yyjson_mut_doc* const doc = document.get();
    yyjson_mut_val* const newPipelines = yyjson_mut_obj_add_arr(doc, tavoAi, "pipelines");
    yyjson_arr_iter node = yyjson_arr_iter_with(pipelines);
    while (yyjson_val* const current = yyjson_arr_iter_next(&node))
    {
        yyjson_mut_val* const copy = yyjson_val_mut_copy(doc, current);
        const auto value = newValues.find(std::string(jsonText(jsonMember(current, "modelUUID"))));
        if (value != newValues.end()) // what is no object stays as it is
        {
            yyjson_mut_obj_remove_key(copy, "modelNMS");
            yyjson_mut_obj_add_real(doc, copy, "modelNMS", static_cast<double>(value->second));
        }
        yyjson_mut_arr_append(newPipelines, copy);
    }
    return std::move(document);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
