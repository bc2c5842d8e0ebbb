#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <mpack.h>
#include <yyjson.h>

#include <tavo/sdk/analytics/helpers/consuming_device_agent.h>
#include <tavo/sdk/ptr.h>

#include "base/message_board.h"
#include "device_agent/agent_services.h"
#include "device_agent/dialog/settings_model_builder.h"
#include "device_agent/frame_clock.h"
#include "device_agent/outbox.h"
#include "device_agent/pipelines/parsed_pipelines.h"
#include "device_agent/result_packets.h"
#include "device_agent/settings/device_settings.h"
#include "device_agent/settings/setting_values.h"
#include "inference/exchange_line.h"
#include "inference/message_buffer.h"
#include "utils/mutex.h"
#include "utils/throttle.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

// One camera that has the integration switched on: takes its frames and settings from the host and
// gives back metadata, manifests and settings models. The camera's lasting configuration lies in
// its record on the host; the plugin itself keeps only a cache of the settings' values.
//
// Until the runtime loop has called processDeviceParameters, the agent knows no pipeline and every
// frame is ignored.
//
// Threads: the host's for settings and frames, the listener's for results, the runtime loop's. All
// operations take the locks that they need, in the order of LockLevel. Host, cloud, application and
// disk are waited for without any of them, and the host may call straight back out of any call.
//
// Frames are in frame_intake.cpp, the pipelines and the record on the host in
// pipelines/pipelines.cpp, settings in settings/settings_processing.cpp, buttons in
// dialog/active_settings.cpp.
class DeviceAgent final : public sdk::analytics::ConsumingDeviceAgent
{
public:
    // Loads the settings cache from `settingsCacheDir` and tells the host that the plugin is
    // enabled for the device, which may take the host as long as it likes. `services` is not owned,
    // outlives the agent and knows of it already.
    DeviceAgent(
        const sdk::analytics::IDeviceInfo* deviceInfo, std::size_t deviceNumber,
        AgentServices* services, const std::string& settingsCacheDir);

    // Leaves the engine's registry first, under m_deviceAgentsMutex, so that no result comes any
    // more, and then tells the host: whoever drops the last reference must hold no lock.
    ~DeviceAgent() override;

    // The host's id of the device: lower case with hyphens, no braces.
    [[nodiscard]] static std::string deviceIdOf(const sdk::analytics::IDeviceInfo& deviceInfo);
    [[nodiscard]] const std::string& deviceId() const { return m_deviceId; }

    // Whether the user wants frames of this device to be analysed.
    [[nodiscard]] bool isActive() const REQUIRES(settingsLock()) { return m_settings.deviceActive; }

    // Turns a result message into metadata for the host. `root` lives for the call; what cannot be
    // read leaves its tree in error. One call at a time.
    void handleResultMessage(mpack_node_t root) EXCLUDES(settingsLock());

    // Asks the cloud for the device's pipelines unless they are there, and says on the board what
    // was tried. After six attempts it posts a warning, and asks every 5 minutes from then on. May
    // block for the time-out of a request, without a lock of the agent.
    void fetchAvailablePipelines(
        MessageBoard& board, Throttle::Clock::time_point now = Throttle::Clock::now())
        EXCLUDES(settingsLock());

    // Takes the device's pipeline configuration from `root`: a device record, or a patch of one.
    void processDeviceParameters(yyjson_val* root) EXCLUDES(settingsLock());

    // Writes the flag to the host; a failure is not noticed. False is not written while the device
    // has an agent: one that is kept alive for a moment longer than its successor needs to come
    // would take the flag from it.
    void setPluginEnabled(bool enabled);

    using ConsumingDeviceAgent::pushManifest;

    // IDeviceAgent:
    sdk::Result<const sdk::ISettingsResponse*> pluginSideSettings() const override;

    // IConsumingDeviceAgent:
    void getSettingsOnActiveSettingChange(
        sdk::Result<const sdk::IActiveSettingChangedResponse*>* outResult,
        const sdk::IActiveSettingChangedAction* action) override;

protected:
    // ConsumingDeviceAgent:
    // The catalogue without a pipeline's classes: these come with the first pushed manifest.
    std::string manifestString() const override;
    bool pushUncompressedVideoFrame(
        sdk::Ptr<const sdk::analytics::IUncompressedVideoFrame> videoFrame) override;
    sdk::Result<const sdk::ISettingsResponse*> settingsReceived() override;

private:
    // Frames.
    struct HostFrame;
    [[nodiscard]] bool frameMayPass() const REQUIRES(settingsLock());
    void noteFrameSize(const HostFrame& frame) REQUIRES(settingsLock());
    [[nodiscard]] bool makeInputMessage(const HostFrame& frame, std::uint64_t passedAtUs)
        REQUIRES(settingsLock());

    // Pipelines.
    [[nodiscard]] std::optional<std::string> readAdminUrl(yyjson_val* tavoAi) const;
    void writeModelNms(const std::map<std::string, float>& newValues);
    void pushManifests() EXCLUDES(settingsLock());

    // Settings and buttons.
    void applySettings() EXCLUDES(settingsLock());
    [[nodiscard]] std::string drawModel() const EXCLUDES(settingsLock());
    [[nodiscard]] sdk::Result<const sdk::ISettingsResponse*> drawDialog() const
        EXCLUDES(settingsLock());
    [[nodiscard]] sdk::Result<const sdk::IActiveSettingChangedResponse*> serveAction(
        const sdk::IActiveSettingChangedAction* action) EXCLUDES(settingsLock());
    void carryOut(const std::string& buttonName, SettingValues& values);

    // Constant after construction.
    const std::string m_deviceId;
    const std::string m_deviceName; // as it was at construction
    const std::uint64_t m_deviceNumber; // the agent's index in the engine's registry
    AgentServices* const m_services; // not owned
    const std::string m_settingsCachePath;

    DeviceSettings m_settings GUARDED_BY(settingsLock());
    SettingValues m_settingsValues GUARDED_BY(settingsLock()); // the last known ones
    AgentErrors m_agentErrors GUARDED_BY(settingsLock()); // shown in the settings dialog
    bool m_settingsReceivedOnce GUARDED_BY(settingsLock()) = false;
    std::uint64_t m_pipelineFetchAttempts GUARDED_BY(settingsLock()) = 0;
    Throttle m_latePipelineFetches GUARDED_BY(settingsLock()){std::chrono::minutes(5)};
    Outbox<DeviceSettings> m_manifestsToPush; // what they are drawn from
    Outbox<SettingValues> m_valuesToSave;

    ExchangeLine::Place m_placeInLine;
    MessageBuffer m_inputMessage; // whose turn it is; kept from frame to frame
    FrameClock m_frameClock;
    std::pair<int, int> m_frameSize GUARDED_BY(settingsLock()){}; // of the last one
    ResultPackets m_resultPackets{m_deviceId, m_frameClock}; // the listener's
    ParsedPipelines m_parsedPipelines;
};

} // namespace tavo::vms_server_plugins::analytics::orlix
