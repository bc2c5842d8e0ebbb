// The settings of the processors in the device's pipeline. What each does with them is the
// application's matter: they ride on every frame.

#include "device_agent/dialog/settings_model_parts.h"
#include "device_agent/pipelines/processors.h"
#include "device_agent/settings/setting_values.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr int kMinSeconds = 1;
constexpr int kMaxSeconds = 1000;

void addLineCrossing(SettingsModel& model)
{
    const bool visible = model.ready && hasProcessor(model.settings, kLineCrossingProcessor);
    ItemList items = model.items.addGroup("Line Crossing", visible);
    items.add("LineFigure")
        .text("name", setting::kLine)
        .text("caption", "Line")
        .text("description", "The line to detect crossings on.")
        .text("allowedDirections", "none")
        .flag("visible", visible);
}

void addLoitering(SettingsModel& model)
{
    const bool visible = model.ready && hasProcessor(model.settings, kLoiteringProcessor);
    ItemList items = model.items.addGroup("Loitering Detection", visible);
    items.add("SpinBox")
        .text("name", setting::kLoiterTime)
        .text("caption", "Loiter Detection Time Threshold (s)")
        .text(
            "description",
            "Loitering will be detected on persons who stay in frame for at least this amount of time.")
        .integer("minValue", kMinSeconds)
        .integer("maxValue", kMaxSeconds)
        .integer("defaultValue", setting_default::kLoiterTime)
        .flag("visible", visible);
    items.add("TextField")
        .text("name", setting::kLoiterObjectClass)
        .text("caption", "Loiter Detection Class")
        .text("description", "Which object type to check for loitering detection.")
        .text("defaultValue", setting_default::kLoiterObjectClass)
        .flag("visible", visible);
}

void addDumping(SettingsModel& model)
{
    const bool visible = model.ready && hasProcessor(model.settings, kIllegalDumpingProcessor);
    ItemList items = model.items.addGroup("Illegal Dumping Detection", visible);
    items.add("TextField")
        .text("name", setting::kDumpingObjectType)
        .text("caption", "Dumping Detection Class")
        .text("description", "Which object type to check for illegal dumping.")
        .text("defaultValue", setting_default::kDumpingObjectType)
        .flag("visible", visible);
    items.add("SpinBox")
        .text("name", setting::kDumpingTime)
        .text("caption", "Dumping Detection Time Threshold (s)")
        .text(
            "description",
            "Dumping will be detected on objects which stays static for at least this amount of time.")
        .integer("minValue", kMinSeconds)
        .integer("maxValue", kMaxSeconds)
        .integer("defaultValue", setting_default::kDumpingTime)
        .flag("visible", visible);
    items
        .addButton(
            button::kReferenceRun, "Trigger Reference Run",
            "This will trigger a reference run in the Edge Orlix Manager to compare detected objects in subsequent runs to the ones detected in the reference run.")
        .flag("visible", visible);
}

// A group for each processor of the pipeline that brings settings; `visit` gets every processor.
template <typename Visit>
void addGroups(SettingsModel& model, yyjson_val* processors, Visit visit)
{
    yyjson_arr_iter processor = yyjson_arr_iter_with(processors);
    while (yyjson_val* const current = yyjson_arr_iter_next(&processor))
    {
        visit(current);
        yyjson_val* const name = jsonMember(current, "Name");
        yyjson_val* const settings = jsonMember(current, "Settings");
        if (!yyjson_is_str(name) || !settings || !hasProcessor(model.settings, jsonText(name)))
            continue;
        model.items.add("GroupBox")
            .text("caption", std::string(jsonText(name)) + " Settings")
            .json("items", yyjson_val_mut_copy(model.items.document(), settings))
            .flag("visible", model.ready);
    }
}

} // namespace

void addDetections(SettingsModel& model)
{
    addLineCrossing(model);
    addLoitering(model);
    addDumping(model);
}

ExternalObjects addExternalProcessors(SettingsModel& model)
{
    ExternalObjects objects;
    const auto noteObjects = [&](yyjson_val* processor)
    {
        yyjson_arr_iter object = yyjson_arr_iter_with(jsonMember(processor, "Objects"));
        while (yyjson_val* const current = yyjson_arr_iter_next(&object))
        {
            yyjson_val* const id = jsonMember(current, "ID");
            yyjson_val* const name = jsonMember(current, "Name");
            if (yyjson_is_str(id) && yyjson_is_str(name))
                objects.emplace_back(jsonText(id), jsonText(name));
        }
    };
    addGroups(
        model,
        jsonMember(
            yyjson_doc_get_root(model.state.externalPostprocessors.get()),
            "externalPostprocessors"),
        noteObjects);
    addGroups(
        model,
        jsonMember(
            yyjson_doc_get_root(model.state.externalPreprocessors.get()), "externalPreprocessors"),
        [](yyjson_val*) {});
    return objects;
}

} // namespace tavo::vms_server_plugins::analytics::orlix
