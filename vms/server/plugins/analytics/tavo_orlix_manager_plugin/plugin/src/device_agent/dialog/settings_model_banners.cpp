// What the dialog tells: the state of the system, the device's errors, the message board.

#include "base/deployment.h"
#include "device_agent/dialog/settings_model_parts.h"
#include "remote/cloud_client.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

void addTroubleshootingLink(ItemList& items)
{
    items.addLink("Troubleshooting Docs", kTroubleshootingLink);
}

const char* cloudText(int connectionState)
{
    if (connectionState == kCloudNeverChecked || connectionState == kCloudBeingChecked)
        return "The ORLIX Plugin is checking whether this server is connected to the cloud. Please wait a moment and click the 'Refresh' button.";
    return "This server is not connected to the cloud yet. Connect your site to the cloud in the site administration, then wait a moment and click the 'Refresh' button.";
}

const char* installationText(ManagerInstallState state)
{
    switch (state)
    {
        case ManagerInstallState::notInstalled:
            return "The ORLIX Plugin is still being initialised. Please wait a moment and click the 'Refresh' button.";
        case ManagerInstallState::downloading:
            return "The ORLIX Runtime is currently being downloaded to your device. This could take some time depending on your internet connection. Please wait a moment and click the 'Refresh' button.";
        case ManagerInstallState::unpacking:
            return "The ORLIX Runtime is currently being installed on your device. Please wait a moment and click the 'Refresh' button.";
        case ManagerInstallState::failed:
            return "The Tavo Orlix Manager could not be installed.\nConsult the documentation to install the Tavo Orlix Manager manually.";
        case ManagerInstallState::installed:
            break;
    }
    return "";
}

const char* runtimeText(RuntimeStatus status)
{
    switch (status)
    {
        case RuntimeStatus::notSelected:
        case RuntimeStatus::reselectRequested:
            return "The ORLIX Plugin is detecting the available AI accelerators on your device. Please wait a moment and click the 'Refresh' button.";
        case RuntimeStatus::waitingForChoice:
            return "Multiple AI-capable devices detected. Select one to use.";
        case RuntimeStatus::chosen:
        case RuntimeStatus::installing:
            return "The ORLIX Plugin is installing your acceleration library. Please wait a moment and click the 'Refresh' button.";
        case RuntimeStatus::installFailed:
            return "The ORLIX Plugin could not install the acceleration library. Please contact support.";
        case RuntimeStatus::noneCompatible:
            return "The ORLIX Plugin could not find any runtimes compatible with your device. Please contact support.";
        case RuntimeStatus::installed:
            break;
    }
    return "";
}

void addRuntimeChoice(SettingsModel& model)
{
    for (const std::string& name : model.state.selectableRuntimes)
    {
        model.items.addButton(
            button::kRuntimeChoicePrefix + name, name,
            "Install this acceleration library on your server.");
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
        model.items.addBanner("info", cloudText(state.cloudConnectionState));
    }
    else if (state.managerInstallState != ManagerInstallState::installed)
    {
        model.ready = false;
        const char* const text = installationText(state.managerInstallState);
        log_rarely(
            text, "Orlix Manager not installed. Status: %d\n",
            static_cast<int>(state.managerInstallState));
        model.items.addBanner("info", text);
        if (state.managerInstallState == ManagerInstallState::failed)
            model.items.addLink("Manual Installation Docs", kManualInstallationLink);
    }
    else if (state.runtimeStatus != RuntimeStatus::installed)
    {
        model.ready = false;
        model.items.addBanner("info", runtimeText(state.runtimeStatus));
        if (state.runtimeStatus == RuntimeStatus::waitingForChoice)
            addRuntimeChoice(model);
        else if (state.runtimeStatus == RuntimeStatus::installFailed)
            addReselectButton(model.items);
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
    buttons
        .addButton(
            button::kResetSingleDevice, "Reset This Device",
            "This will reset this device to its default configuration.")
        .flag("visible", anyWarning);
    buttons
        .addButton(
            button::kResetAllDevices, "Reset All Devices",
            "This will reset all initialized devices to their default configurations.")
        .flag("visible", anyWarning);
    buttons
        .addButton(
            button::kClearCache, "Clear Cache",
            "This will clear all files downloaded by the plugin, forcing them to be redownloaded.")
        .flag("visible", anyWarning);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
