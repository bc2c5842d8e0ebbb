#include "remote/record_lists.h"

#include "remote/host_rest_client.h"
#include "utils/json.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::vector<std::string> activatedDevices(std::string_view devices, bool withConfiguration)
{
    std::vector<std::string> ids;
    const JsonDocument document = parseJson(devices);
    yyjson_arr_iter iterator = yyjson_arr_iter_with(yyjson_doc_get_root(document.get()));
    while (yyjson_val* const device = yyjson_arr_iter_next(&iterator))
    {
        const std::string id(jsonText(jsonMember(device, "id")));
        yyjson_val* const ours = pluginParameters(device);
        const bool hasModels = jsonMember(ours, "models");
        const bool hasPipelines = jsonMember(ours, "pipelines");
        if (!ours)
            log_debug("Device %s not activated yet. Ignoring.\n", id.c_str());
        else if (withConfiguration && !hasModels && !hasPipelines)
            log_debug("Device %s has no configuration. Ignoring.\n", id.c_str());
        else if (!withConfiguration && hasModels && hasPipelines)
            log_debug("Device %s has configuration. Ignoring.\n", id.c_str());
        else if (!id.empty())
            ids.push_back(id);
    }
    return ids;
}

std::vector<std::string> cloudUserIds(std::string_view users)
{
    std::vector<std::string> ids;
    const JsonDocument document = parseJson(users);
    yyjson_val* const list = yyjson_doc_get_root(document.get());
    if (!yyjson_is_arr(list))
    {
        log_info("WARNING: Failed to parse Users data");
        return {};
    }
    yyjson_arr_iter iterator = yyjson_arr_iter_with(list);
    while (yyjson_val* const user = yyjson_arr_iter_next(&iterator))
    {
        if (jsonText(jsonMember(user, "type")) != "cloud")
            continue;
        yyjson_val* const id = jsonMember(user, "id");
        if (yyjson_is_str(id))
            ids.emplace_back(jsonText(id));
        else
            log_info("WARNING: User does not have ID");
    }
    return ids;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
