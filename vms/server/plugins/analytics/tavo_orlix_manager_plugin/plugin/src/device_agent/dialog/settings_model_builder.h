#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/message_board.h"
#include "device_agent/agent_services.h"
#include "device_agent/settings/device_settings.h"
#include "runtimes/manager_installation.h"
#include "runtimes/runtime_status.h"
#include "utils/json.h"

// The settings dialog of a device, a JSON text that the host draws. It is the plugin's only display
// as well: the same controls are always there, what is not ready is hidden, and banners tell why.
// The host asks anew whenever the dialog is opened or refreshed. No state.

namespace tavo::vms_server_plugins::analytics::orlix
{

// What is wrong with a device's configuration, by kind.
using AgentErrors = std::map<std::int32_t, std::string>;

// Names of the controls that make the host call the plugin at once.
namespace button
{
inline constexpr char kManageDevice[] = "manageDevice";
inline constexpr char kReselectRuntime[] = "reselectRuntimeButton";
inline constexpr char kRuntimeChoicePrefix[] = "libraryChoice"; // then a runtime's name
inline constexpr char kReferenceRun[] = "triggerReferenceRunButton";
inline constexpr char kResetSingleDevice[] = "resetSingleDeviceButton";
inline constexpr char kResetAllDevices[] = "resetAllDevicesButton";
inline constexpr char kClearCache[] = "clearCacheButton";
inline constexpr char kModelDownloadRetry[] = "modelDownloadRetryButton";
inline constexpr char kSelectAll[] = "selectAllButton";
inline constexpr char kDeselectAll[] = "deSelectAllButton";
} // namespace button

// The state of the system as far as the dialog shows it.
struct DialogState
{
    int cloudConnectionState = 0;
    ManagerInstallState managerInstallState = ManagerInstallState::notInstalled;
    RuntimeStatus runtimeStatus = RuntimeStatus::notSelected;
    int hostCustomizationKind = 0;
    std::vector<std::string> selectableRuntimes;
    std::string installedRuntimeName;
    MessageBoard::Entries board;
    AgentErrors agentErrors;
    JsonDocument externalPostprocessors; // null when there are none, as the next
    JsonDocument externalPreprocessors;
};

// Reads the state and builds the model, which is logged. `settings` is the caller's own copy: the
// application's two files of external processors are read, so no lock is held.
[[nodiscard]] std::string settingsModelBuilder(
    AgentServices& services, const AgentErrors& agentErrors, const DeviceSettings& settings);

// "{}" when the text cannot be told.
[[nodiscard]] std::string makeSettingsModel(
    const DialogState& state, const DeviceSettings& settings);

} // namespace tavo::vms_server_plugins::analytics::orlix
