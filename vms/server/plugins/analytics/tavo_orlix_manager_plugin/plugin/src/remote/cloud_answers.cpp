#include "remote/cloud_answers.h"

#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/json.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kSelectedPipeline[] = "selectedPipeline";

PipelineOption makeOption(yyjson_val* pipeline)
{
    PipelineOption option;
    option.name = jsonText(jsonMember(pipeline, "name"));
    option.uuid = jsonText(jsonMember(pipeline, "uuid"));

    auto [document, copy] = makeParametersDocument(pipeline);
    for (const char* const key : {"name", "uuid", kSelectedPipeline})
        yyjson_mut_obj_remove_key(copy, key);
    yyjson_mut_obj_add_strncpy(
        document.get(), copy, kSelectedPipeline, option.uuid.data(), option.uuid.size());
    option.patch = jsonToText(std::move(document));
    return option;
}

// The id becomes a part of a path of the host's interface: it must not lead anywhere else.
bool isDeviceId(std::string_view id)
{
    constexpr std::string_view kAllowed =
        "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_{}";
    return !id.empty() && id.find_first_not_of(kAllowed) == std::string_view::npos;
}

} // namespace

std::vector<PipelineOption> pipelineOptions(std::string_view answer)
{
    std::vector<PipelineOption> options;
    const JsonDocument document = parseJson(answer);
    yyjson_arr_iter iterator = yyjson_arr_iter_with(yyjson_doc_get_root(document.get()));
    while (yyjson_val* const pipeline = yyjson_arr_iter_next(&iterator))
    {
        if (yyjson_is_str(jsonMember(pipeline, "uuid")))
            options.push_back(makeOption(pipeline));
    }
    return options;
}

std::vector<DevicePatch> devicePatches(std::string_view answer)
{
    std::vector<DevicePatch> patches;
    const JsonDocument document = parseJson(answer);
    yyjson_val* const devices = jsonMember(yyjson_doc_get_root(document.get()), "Devices");
    yyjson_obj_iter iterator = yyjson_obj_iter_with(devices);
    while (yyjson_val* const key = yyjson_obj_iter_next(&iterator))
    {
        const std::string id(jsonText(key));
        if (!isDeviceId(id))
        {
            log_info(
                "Warning! The cloud answered for what is no device: %s\n", oneLine(id).c_str());
            continue;
        }
        const auto patch = makeParametersDocument(yyjson_obj_iter_get_val(key)).first;
        patches.push_back({id, compactJson(patch.get())});
    }
    return patches;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
