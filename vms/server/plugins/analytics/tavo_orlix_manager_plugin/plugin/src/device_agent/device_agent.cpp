#include "device_agent/device_agent.h"

#include <utility>

#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/uuid.h>

#include "base/ini.h"
#include "device_agent/manifest_builder.h"
#include "device_agent/settings/settings_cache.h"
#include "remote/text_helpers.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

DeviceAgent::DeviceAgent(
    const sdk::analytics::IDeviceInfo* deviceInfo, std::size_t deviceNumber,
    AgentServices* services, const std::string& settingsCacheDir) :
    ConsumingDeviceAgent(deviceInfo, ini().enableOutput),
    m_deviceId(deviceIdOf(*deviceInfo)),
    m_deviceName(textOrEmpty(deviceInfo->name())),
    m_deviceNumber(deviceNumber),
    m_services(services),
    m_settingsCachePath(settingsCachePath(settingsCacheDir, m_deviceId))
{
    log_debug("Device agent started: %s\n", m_deviceId.c_str());
    log_debug("Device agent loading settings\n");
    SettingValues cached = loadSettingsCache(m_settingsCachePath);
    {
        const MutexLock lock(settingsLock());
        m_settingsValues = std::move(cached);
    }
    log_debug("Device agent processing settings\n");
    setPluginEnabled(true);
}

DeviceAgent::~DeviceAgent()
{
    log_info("Destroying Device Agent %zu\n", static_cast<std::size_t>(m_deviceNumber));
    m_services->removeDeviceAgent(static_cast<std::size_t>(m_deviceNumber));
    sdk::atBorder(
        [this]
        {
            m_services->messageBoard().removeMessage(board_key::kPipelinesAwaited + m_deviceId);
            setPluginEnabled(false);
        });
}

std::string DeviceAgent::deviceIdOf(const sdk::analytics::IDeviceInfo& deviceInfo)
{
    return toText(sdk::uuidFromText(deviceInfo.id()));
}

// All of it runs on the listener's thread.
void DeviceAgent::handleResultMessage(mpack_node_t root)
{
    ResultPackets::Packets packets;
    {
        const MutexLock lock(settingsLock());
        packets = m_resultPackets.make(root, m_settings);
    }
    if (packets.objects)
        pushMetadataPacket(std::move(packets.objects));
    if (packets.events)
        pushMetadataPacket(std::move(packets.events));
}

std::string DeviceAgent::manifestString() const
{
    return deviceManifestBuilder(DeviceSettings(), m_services->managerInterface());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
