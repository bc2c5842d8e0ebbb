#include "device_agent/dialog/settings_model_builder.h"

#include <utility>

#include "device_agent/dialog/settings_model_parts.h"
#include "remote/text_helpers.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

std::string settingsModelBuilder(
    AgentServices& services, const AgentErrors& agentErrors, const DeviceSettings& settings)
{
    DialogState state;
    state.cloudConnectionState = services.cloudConnectionState();
    state.managerInstallState = services.managerInstallation().managerInstallState();
    state.runtimeStatus = services.runtimesManager().status();
    state.hostCustomizationKind = services.hostCustomizationKind();
    state.selectableRuntimes = services.runtimesManager().availableRuntimes();
    state.installedRuntimeName = services.runtimesManager().getInstalledRuntimeName();
    state.agentErrors = agentErrors;
    state.externalPostprocessors = services.managerInterface().loadExternalPostprocessors();
    state.externalPreprocessors = services.managerInterface().loadExternalPreprocessors();
    state.board = services.messageBoard().snapshot(); // the files' own mistakes are on it

    std::string text = makeSettingsModel(state, settings);
    log_info("Device Agent Settings Model: %s\n", text.c_str());
    return text;
}

std::string makeSettingsModel(const DialogState& state, const DeviceSettings& settings)
{
    auto [document, root] = newJsonObject();
    SettingsModel model{
        state, settings, Item(document.get(), root).text("type", "Settings").items()};

    addStateBanners(model);
    addDeviceControls(model);
    addBoard(model);
    addOverview(model);
    addVideoSettings(model);
    addDetections(model);
    const ExternalObjects externalObjects = addExternalProcessors(model);
    addMasks(model);
    addVisualisation(model, externalObjects);

    return jsonToText(std::move(document));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
