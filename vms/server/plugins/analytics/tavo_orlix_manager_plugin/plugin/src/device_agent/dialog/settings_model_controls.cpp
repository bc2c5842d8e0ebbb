// The controls that every device has: what runs on it, and on which part of its image.

#include <algorithm>

#include "device_agent/dialog/settings_model_parts.h"
#include "device_agent/pipelines/model_nms.h"
#include "device_agent/settings/setting_values.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// Of hostCustomizationKind: hosts whose users have access to the cloud's own pages.
constexpr int kOwnCustomization = 0;

bool customIsSelected(const SettingsModel& model)
{
    return model.settings.selectedPipeline == kCustomPipeline;
}

void addPipelineChoice(SettingsModel& model)
{
    const DeviceSettings& settings = model.settings;
    if (settings.availablePipelines.empty() || settings.selectedPipeline.empty())
        return;

    Item choice = model.items.add("ComboBox")
                      .text("name", setting::kSelectedPipeline)
                      .text("caption", "AI Pipeline")
                      .text("description", "Choose which AI pipeline to run on the current device.")
                      .text("defaultValue", settings.selectedPipeline);
    Item captions = choice.object("itemCaptions");
    std::vector<std::string> range;
    const auto offer = [&](const std::string& uuid, const std::string& caption)
    {
        captions.entry(uuid, caption);
        range.push_back(uuid);
    };
    for (const PipelineOption& option : settings.availablePipelines)
        offer(option.uuid, option.name);
    // Where it cannot be edited it is offered only as long as it is what the device has.
    if (model.state.hostCustomizationKind == kOwnCustomization || customIsSelected(model))
        offer(kCustomPipeline, "Custom");
    choice.texts("range", range).flag("visible", model.ready);
}

void addSensitivities(SettingsModel& model)
{
    const std::vector<ModelNmsEntry>& entries = model.settings.modelNms;
    for (const ModelNmsEntry& entry : entries)
    {
        const std::string caption =
            entries.size() == 1 ? "Model Sensitivity" : "Sensitivity for " + entry.modelName;
        model.items.add("SpinBox")
            .text("name", kModelNmsPrefix + entry.modelUUID)
            .text("suffix", "%")
            .text("caption", caption)
            .text(
                "description",
                "Controls the sensitivity of the model. A higher value will make the model more sensitive, resulting in more detections but also more false positives.")
            .text("isActive", "false")
            .real("defaultValue", 42)
            .real("minValue", 1)
            .real("maxValue", 100)
            .real("step", 5)
            .flag("visible", model.ready && !customIsSelected(model));
    }
}

bool anyDownloadFailed(const MessageBoard::Entries& board)
{
    return std::any_of(
        board.begin(), board.end(),
        [](const auto& entry) { return entry.first.starts_with(board_key::kModelDownloadFailed); });
}

} // namespace

Item addReselectButton(ItemList& items)
{
    return items.addButton(
        button::kReselectRuntime, "Reselect Runtime", "Reselect the runtime to use for inference.");
}

void addDeviceControls(SettingsModel& model)
{
    model.items.add("SwitchButton")
        .text("name", setting::kDeviceActive)
        .text("caption", "Device Active")
        .text(
            "description",
            "If the device is active, the frames from this device will be sent to the AI Runtime for inference.")
        .flag("defaultValue", false)
        .flag("visible", model.ready);
    addPipelineChoice(model);
    model.items
        .addButton(
            button::kManageDevice, "Manage Device",
            "Open a browser window to manage the device from the cloud.")
        .flag(
            "visible",
            model.ready && customIsSelected(model) &&
                model.state.hostCustomizationKind == kOwnCustomization);
    addSensitivities(model);
    addReselectButton(model.items).flag("visible", model.ready);
}

void addOverview(SettingsModel& model)
{
    ItemList items = model.items.addGroup("Device Overview", model.ready);
    if (anyDownloadFailed(model.state.board))
    {
        items.addButton(
            button::kModelDownloadRetry, "Retry Model Downloads",
            "This will retry all failed model downloads.");
    }
    items.addBanner(
        "info",
        "Active ORLIX Runtime: " + model.state.installedRuntimeName +
            "\n\nPipelines active on this device:\n" + model.settings.pipelineDescription);
    items.add("Separator");
}

void addVideoSettings(SettingsModel& model)
{
    // A heading: what follows stands beside it, not inside.
    Item heading = model.items.add("GroupBox").text("caption", "Video Settings");
    heading.items();
    heading.flag("visible", model.ready);

    model.items.add("BoxFigure")
        .text("caption", "Region of Interest")
        .text("name", setting::kCropBox)
        .text(
            "description",
            "The image will be cropped to this region before being sent to Orlix Manager.")
        .flag("visible", model.ready);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
