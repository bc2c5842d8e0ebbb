#include "device_agent/manifest_builder.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "device_agent/dialog/dialog_items.h"
#include "device_agent/pipelines/processors.h"
#include "device_agent/type_ids.h"
#include "remote/text_helpers.h"
#include "utils/json.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

struct TypeDeclaration
{
    const char* id;
    const char* name;
};

// Declared whether or not the pipeline can produce them.
constexpr TypeDeclaration kEventTypes[] = {
    {kFpsEventType, "Frames per second"},
    {kCountedEventType, "Objects counted"},
    {kLoiterAlarmEventType, "Loiterer detected"},
    {kCategoryEventType, "Category detected"},
    {kLineCrossingEventType, "Line crossing detected"},
    {kDumpingEventType, "Illegal dumping detected"},
};

void addType(
    yyjson_mut_doc* document, yyjson_mut_val* types, std::string_view id, std::string_view name)
{
    yyjson_mut_val* const type = yyjson_mut_arr_add_obj(document, types);
    yyjson_mut_obj_add_strncpy(document, type, "id", id.data(), id.size());
    yyjson_mut_obj_add_strncpy(document, type, "name", name.data(), name.size());
}

// The types that external postprocessors bring, `key` being the array that declares them; those
// without "ID" or "Name" are told with `warning` and left out. `makeId` makes a type id of an "ID".
template <typename MakeId>
void addExternalTypes(
    yyjson_mut_doc* document, yyjson_mut_val* types, yyjson_val* externalPostprocessors,
    const char* key, const char* warning, MakeId makeId)
{
    yyjson_val* const processors = jsonMember(externalPostprocessors, "externalPostprocessors");
    yyjson_arr_iter processor = yyjson_arr_iter_with(processors);
    while (yyjson_val* const current = yyjson_arr_iter_next(&processor))
    {
        yyjson_arr_iter declared = yyjson_arr_iter_with(jsonMember(current, key));
        while (yyjson_val* const type = yyjson_arr_iter_next(&declared))
        {
            yyjson_val* const id = jsonMember(type, "ID");
            yyjson_val* const name = jsonMember(type, "Name");
            if (!yyjson_is_str(id) || !yyjson_is_str(name))
            {
                log_info("%s", warning);
                continue;
            }
            addType(document, types, makeId(std::string(jsonText(id))), jsonText(name));
        }
    }
}

// Unlike the names of classes, an external object's id only has its blanks replaced: that is what
// external processors name their objects by.
std::string externalObjectTypeId(std::string id)
{
    std::replace(id.begin(), id.end(), ' ', '_');
    return kTypeIdPrefix + id;
}

} // namespace

std::string engineManifestBuilder()
{
    auto [document, root] = newJsonObject();
    Item manifest(document.get(), root);
    manifest.text("capabilities", "needUncompressedVideoFrames_rgb")
        .text("preferredStream", "secondary");
    manifest.object("deviceAgentSettingsModel")
        .text("type", "Settings")
        .items()
        .addBanner("info", "Enable the plugin and press Apply to start working with the plugin.");

    std::string text = jsonToText(std::move(document));
    log_info("Engine manifest string: %s\n", text.c_str());
    return text;
}

std::string makeDeviceManifest(const DeviceSettings& settings, yyjson_val* externalPostprocessors)
{
    auto [document, root] = newJsonObject();
    yyjson_mut_doc* const doc = document.get();
    yyjson_mut_val* const eventTypes = yyjson_mut_obj_add_arr(doc, root, "eventTypes");
    for (const TypeDeclaration& type : kEventTypes)
        addType(doc, eventTypes, type.id, type.name);
    addExternalTypes(
        doc, eventTypes, externalPostprocessors, "Events",
        "Warning! External postprocessor event type has ID or Name missing!\n",
        [](std::string id) { return id; });

    yyjson_mut_val* const objectTypes = yyjson_mut_obj_add_arr(doc, root, "objectTypes");
    for (const std::string& className : settings.classes)
        addType(doc, objectTypes, objectTypeId(className), className);
    if (hasProcessor(settings, kIllegalDumpingProcessor))
        addType(doc, objectTypes, kAnomalyObjectType, "anomaly");
    addExternalTypes(
        doc, objectTypes, externalPostprocessors, "Objects",
        "Warning! External postprocessor object type has ID or Name missing!\n",
        externalObjectTypeId);

    return jsonToText(std::move(document));
}

std::string deviceManifestBuilder(
    const DeviceSettings& settings, const OrlixManagerInterface& managerInterface)
{
    const JsonDocument external = managerInterface.loadExternalPostprocessors();
    std::string text = makeDeviceManifest(settings, yyjson_doc_get_root(external.get()));
    log_info("Device Agent Manifest: %s\n", text.c_str());
    return text;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
