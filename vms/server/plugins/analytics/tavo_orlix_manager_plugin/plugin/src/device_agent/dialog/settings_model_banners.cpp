// What the dialog tells: the state of the system, the device's errors, the message board.

#include "base/deployment.h"
#include "device_agent/dialog/settings_model_parts.h"
#include "remote/cloud_client.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

void addTroubleshootingLink(ItemList& items)
{
    items.addLink("Troubleshooting Docs", kTroubleshootingLink);
}

void addCloudBanner(SettingsModel& model)
{
    switch (model.state.cloudConnectionState)
    {
        case kCloudNeverChecked:
        case kCloudBeingChecked:
            model.items.addBanner(
                "info",
                "The ORLIX Plugin is checking whether this server is connected to the cloud. Please wait a moment and click the 'Refresh' button.");
            break;
        default:
            model.items.addBanner(
                "info",
                "This server is not connected to the cloud yet. Connect your site to the cloud in the site administration, then wait a moment and click the 'Refresh' button.");
    }
}

void addManagerBanner(SettingsModel& model)
{
    switch (model.state.managerInstallState)
    {
        case ManagerInstallState::notInstalled:
            model.items.addBanner(
                "info",
                "The ORLIX Plugin is still being initialised. Please wait a moment and click the 'Refresh' button.");
            break;
        case ManagerInstallState::downloading:
            model.items.addBanner(
                "info",
                "The ORLIX Runtime is currently being downloaded to your device. This could take some time depending on your internet connection. Please wait a moment and click the 'Refresh' button.");
            break;
        case ManagerInstallState::unpacking:
            model.items.addBanner(
                "info",
                "The ORLIX Runtime is currently being installed on your device. Please wait a moment and click the 'Refresh' button.");
            break;
        case ManagerInstallState::failed:
            model.items.addBanner(
                "info",
                "The Tavo Orlix Manager could not be installed.\nConsult the documentation to install the Tavo Orlix Manager manually.");
            model.items.addLink("Manual Installation Docs", kManualInstallationLink);
            break;
        case ManagerInstallState::installed:
            break;
    }
}

void addRuntimeChoice(SettingsModel& model)
{
    for (const std::string& name : model.state.selectableRuntimes)
    {
        model.items.add("Button")
            .text("name", button::kRuntimeChoicePrefix + name)
            .text("caption", name)
            .text("description", "Install this acceleration library on your server.")
            .active();
    }
}

void addRuntimeBanner(SettingsModel& model)
{
    switch (model.state.runtimeStatus)
    {
        case RuntimeStatus::notSelected:
        case RuntimeStatus::reselectRequested:
            model.items.addBanner(
                "info",
                "The ORLIX Plugin is detecting the available AI accelerators on your device. Please wait a moment and click the 'Refresh' button.");
            break;
        case RuntimeStatus::waitingForChoice:
            model.items.addBanner(
                "info", "Multiple AI-capable devices detected. Select one to use.");
            addRuntimeChoice(model);
            break;
        case RuntimeStatus::chosen:
        case RuntimeStatus::installing:
            model.items.addBanner(
                "info",
                "The ORLIX Plugin is installing your acceleration library. Please wait a moment and click the 'Refresh' button.");
            break;
        case RuntimeStatus::installFailed:
            model.items.addBanner(
                "info",
                "The ORLIX Plugin could not install the acceleration library. Please contact support.");
            addReselectButton(model.items);
            break;
        case RuntimeStatus::noneCompatible:
            model.items.addBanner(
                "info",
                "The ORLIX Plugin could not find any runtimes compatible with your device. Please contact support.");
            break;
        case RuntimeStatus::installed:
            break;
    }
}

void addAgentErrors(SettingsModel& model)
{
    std::string text = "The Device Agent reported errors:";
    for (const auto& [kind, error] : model.state.agentErrors)
        text += "\n-" + error;
    model.items.addBanner("warning", text);
    addTroubleshootingLink(model.items);
}

} // namespace

// The first level of the system that is not there hides the controls and is told; the levels above
// it are not looked at. A runtime that is installed always has the device's own state told.
void addStateBanners(SettingsModel& model)
{
    const DialogState& state = model.state;
    if (state.cloudConnectionState != kCloudConnected)
    {
        model.ready = false;
        addCloudBanner(model);
    }
    else if (state.managerInstallState != ManagerInstallState::installed)
    {
        model.ready = false;
        log_info(
            "Orlix Manager not installed. Status: %d\n",
            static_cast<int>(state.managerInstallState));
        addManagerBanner(model);
    }
    else if (state.runtimeStatus != RuntimeStatus::installed)
    {
        model.ready = false;
        addRuntimeBanner(model);
    }

    if (state.runtimeStatus != RuntimeStatus::installed)
        return;
    if (!state.agentErrors.empty())
        addAgentErrors(model);
    if (model.settings.availablePipelines.empty())
    {
        model.ready = false;
        model.items.addBanner(
            "info",
            "Gathering available AI pipelines from the cloud. Please wait a moment and click the 'Refresh' button.");
    }
}

void addBoard(SettingsModel& model)
{
    bool anyWarning = false;
    for (const auto& [key, entry] : model.state.board)
    {
        if (entry.type == MessageType::message)
        {
            model.items.addBanner("info", entry.text);
            continue;
        }
        model.items.addBanner("warning", entry.text);
        addTroubleshootingLink(model.items);
        anyWarning = true;
    }

    ItemList buttons = model.items.add("Row").items();
    buttons.add("Button")
        .text("name", button::kResetSingleDevice)
        .text("caption", "Reset This Device")
        .text("description", "This will reset this device to its default configuration.")
        .active()
        .flag("visible", anyWarning);
    buttons.add("Button")
        .text("name", button::kResetAllDevices)
        .text("caption", "Reset All Devices")
        .text(
            "description",
            "This will reset all initialized devices to their default configurations.")
        .active()
        .flag("visible", anyWarning);
    buttons.add("Button")
        .text("name", button::kClearCache)
        .text("caption", "Clear Cache")
        .text(
            "description",
            "This will clear all files downloaded by the plugin, forcing them to be redownloaded.")
        .active()
        .flag("visible", anyWarning);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
