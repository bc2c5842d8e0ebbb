#pragma once

#include <string>
#include <utility>
#include <vector>

#include "device_agent/dialog/dialog_items.h"
#include "device_agent/dialog/settings_model_builder.h"
#include "device_agent/settings/device_settings.h"

// The parts of the settings dialog, in the order in which they stand in it. Each appends its items
// to the model.

namespace tavo::vms_server_plugins::analytics::orlix
{

struct SettingsModel
{
    const DialogState& state;
    const DeviceSettings& settings;
    ItemList items;
    bool ready = true; // whether the controls of the device are shown
};

// Id and name of an object that an external postprocessor makes.
using ExternalObjects = std::vector<std::pair<std::string, std::string>>;

// Why the device is not ready, if it is not; clears `ready` then.
void addStateBanners(SettingsModel& model);

// Switch, choice of the pipeline, sensitivities, choice of the runtime.
void addDeviceControls(SettingsModel& model);
Item addReselectButton(ItemList& items);

// What is on the board, and what to do about warnings.
void addBoard(SettingsModel& model);

void addOverview(SettingsModel& model);
void addVideoSettings(SettingsModel& model);
void addDetections(SettingsModel& model);

// The groups that external processors of the pipeline bring along.
[[nodiscard]] ExternalObjects addExternalProcessors(SettingsModel& model);

void addMasks(SettingsModel& model);
void addVisualisation(SettingsModel& model, const ExternalObjects& externalObjects);

} // namespace tavo::vms_server_plugins::analytics::orlix
