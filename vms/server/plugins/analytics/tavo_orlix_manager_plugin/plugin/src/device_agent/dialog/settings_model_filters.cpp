// What becomes metadata: masks, which the application applies, and classes, which the plugin does.

#include "device_agent/dialog/settings_model_parts.h"
#include "device_agent/settings/setting_values.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr int kMaskCount = 5;

// The host puts the mask's number, counted from 1, in the place of "#".
constexpr char kMaskName[] = "polygon#.figure";

void addMaskType(SettingsModel& model, ItemList& items)
{
    Item choice = items.add("ComboBox")
                      .text("name", setting::kMaskType)
                      .text("caption", "Mask Type")
                      .text(
                          "description",
                          "Choose whether the defined mask(s) should be inclusive, or exclusive.")
                      .text("defaultValue", setting_default::kMaskType)
                      .texts("range", {"inclusive", "exclusive"});
    choice.object("itemCaptions").text("inclusive", "Inclusive").text("exclusive", "Exclusive");
    choice.flag("visible", model.ready);
}

void addClass(ItemList& items, const std::string& className, const std::string& caption)
{
    items.add("CheckBox")
        .text("name", setting::kVisualisePrefix + className)
        .text("caption", caption)
        .text("description", "When enabled, bounding boxes will be shown for this class.")
        .flag("defaultValue", true);
}

} // namespace

void addMasks(SettingsModel& model)
{
    ItemList items = model.items.addGroup("Input Masks", model.ready);
    addMaskType(model, items);

    Item repeater = items.add("Repeater").integer("count", kMaskCount);
    Item mask =
        repeater.object("template")
            .text("type", "GroupBox")
            .text("caption", "Mask #")
            .text(
                "description",
                "Only bounding boxes whose center bottom falls within/without ( Depending on Mask Type ) this mask will generate objects.")
            .texts("filledCheckItems", {kMaskName});
    mask.items()
        .add("PolygonFigure")
        .text("name", kMaskName)
        .integer("minPoints", 3)
        .integer("maxPoints", 8);
}

void addVisualisation(SettingsModel& model, const ExternalObjects& externalObjects)
{
    ItemList items = model.items.addGroup("Class Visualisation", model.ready);
    items.addButton(button::kSelectAll, "Select All", "Select all visualisations.");
    items.addButton(button::kDeselectAll, "Deselect All", "Deselect all visualisations.");
    for (const std::string& className : model.settings.classes)
        addClass(items, className, className);
    for (const auto& [id, name] : externalObjects)
        addClass(items, id, name);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
