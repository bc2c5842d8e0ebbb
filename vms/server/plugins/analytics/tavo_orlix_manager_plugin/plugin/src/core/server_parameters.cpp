#include <optional>
#include <string>
#include <vector>

#include "base/plugin_version.h"
#include "core/runtime_manager_loop.h"
#include "remote/host_rest_client.h"
#include "remote/text_helpers.h"
#include "utils/json.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kPreprocessors[] = "availablePreprocessors";
constexpr char kPostprocessors[] = "availablePostprocessors";

// The dialogs compare against these very words, two keys with and two without a blank.
constexpr struct
{
    const char* key;
    const char* name;
} kBuiltInPostprocessors[] = {
    {"LineCrossing", "Line Crossing"},
    {"Object Counting", "Object Counting"},
    {"Illegal Dumping", "Illegal Dumping"},
    {"LoiteringDetection", "Loitering Detection"},
};

// Adds one member per processor in the array `listKey` of the file. A name that comes twice makes
// two members.
yyjson_mut_val* addProcessors(
    yyjson_mut_doc* document, yyjson_mut_val* object, const char* key, const JsonDocument& file,
    const char* listKey)
{
    yyjson_mut_val* const processors = yyjson_mut_obj_add_obj(document, object, key);
    yyjson_val* const list = jsonMember(yyjson_doc_get_root(file.get()), listKey);
    yyjson_arr_iter iterator = yyjson_arr_iter_with(list);
    while (yyjson_val* const processor = yyjson_arr_iter_next(&iterator))
    {
        yyjson_val* const name = jsonMember(processor, "Name");
        if (!yyjson_is_str(name))
            continue;
        yyjson_mut_obj_add(
            processors, yyjson_val_mut_copy(document, name), yyjson_val_mut_copy(document, name));
    }
    return processors;
}

} // namespace

void RuntimeManagerLoop::patchServerParameters()
{
    log_info("Updating server parameters...\n");
    auto [document, parameters] = makeParametersDocument();
    yyjson_mut_doc* const json = document.get();
    yyjson_mut_obj_add_str(json, parameters, "pluginVersion", kPluginVersion);
    const std::string runtimeName = m_services.runtimesManager.getInstalledRuntimeName();
    addRuntimeInformation(
        json, parameters, runtimeName, m_services.runtimesManager.getMimeType(runtimeName));

    // The host merges a patch into what it holds, so objects are taken away first: otherwise they
    // would keep processors that are no longer there.
    yyjson_mut_obj_add_null(json, parameters, kPostprocessors);
    yyjson_mut_obj_add_null(json, parameters, kPreprocessors);
    patchServer(m_services.utilityProvider(), compactJson(json));
    yyjson_mut_obj_remove_key(parameters, kPostprocessors);
    yyjson_mut_obj_remove_key(parameters, kPreprocessors);

    addProcessors(
        json, parameters, kPreprocessors, m_services.managerInterface.loadExternalPreprocessors(),
        "externalPreprocessors");
    yyjson_mut_val* const postprocessors = addProcessors(
        json, parameters, kPostprocessors, m_services.managerInterface.loadExternalPostprocessors(),
        "externalPostprocessors");
    for (const auto& builtIn : kBuiltInPostprocessors)
        yyjson_mut_obj_add_str(json, postprocessors, builtIn.key, builtIn.name);

    if (const std::optional<std::string> siteId = cloudSystemId(m_services.utilityProvider()))
        yyjson_mut_obj_add_strncpy(json, parameters, "siteID", siteId->data(), siteId->size());

    const std::string text = jsonToText(std::move(document));
    log_debug("Patching server parameters: %s\n", text.c_str());
    patchServer(m_services.utilityProvider(), text);
}

bool RuntimeManagerLoop::siteIdChanged(yyjson_val* server) const
{
    yyjson_val* const saved = jsonMember(pluginParameters(server), "siteID");
    const std::optional<std::string> current = cloudSystemId(m_services.utilityProvider());
    if (!current)
    {
        log_warning(
            "",
            "Warning! Could not get cloud system ID to check for changes. Assuming unchanged.\n");
        return false;
    }
    if (!yyjson_is_str(saved))
    {
        log_rarely("", "Site ID not saved in parameters yet. Assuming unchanged.\n");
        return false;
    }
    if (sameDeviceId(jsonText(saved), *current))
    {
        log_debug("Site ID didn't change\n");
        return false;
    }
    log_info("Detected site ID change! %s -> %s\n", yyjson_get_str(saved), current->c_str());
    return true;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
