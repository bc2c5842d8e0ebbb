#include "library/loaded_engine.h"

#include <filesystem>
#include <stdexcept>

#include "device_info.h"
#include "engine_side.h"
#include "metadata/results.h"
#include "records/utility_provider.h"

namespace tavo::devkit
{

LoadedEngine::LoadedEngine(const std::string& file, RecordStore& store, MakePlugin makePlugin) :
    m_store(store),
    m_makePlugin(std::move(makePlugin)),
    m_library(file),
    m_restService(std::in_place, store)
{}

void LoadedEngine::obtain(const std::string& home, sdk::analytics::IEngine::IHandler* handler)
{
    m_plugin = m_makePlugin(m_library);
    m_plugin->setUtilityProvider(
        sdk::makePtr<UtilityProvider>(
            readIdentity(m_store), std::filesystem::absolute(home).string(), *m_restService)
            .get());
    m_engine =
        sdk::Ptr<sdk::analytics::IEngine>(valueOrThrow("obtainEngine", m_plugin->obtainEngine()));
    m_engine->setEngineInfo(sdk::makePtr<EngineInfo>().get());
    m_engine->setHandler(handler);
}

sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> LoadedEngine::obtainAgent(
    const std::string& deviceId)
{
    const auto info =
        sdk::makePtr<DeviceInfo>(m_store.find(RecordKind::device, deviceId).value_or("{}"));
    if (!m_engine->isCompatible(info.get()))
        throw std::runtime_error("The engine does not take device " + deviceId + ".");
    const sdk::Ptr<sdk::analytics::IDeviceAgent> agent(
        valueOrThrow("doObtainDeviceAgent", m_engine->doObtainDeviceAgent(info.get())));
    auto consuming = sdk::interfaceCast<sdk::analytics::IConsumingDeviceAgent>(agent);
    if (!consuming)
        throw std::runtime_error("The device agent takes no data.");
    return consuming;
}

std::int64_t LoadedEngine::end()
{
    m_engine.reset();
    m_plugin.reset();
    m_restService.reset();
    return m_library.liveObjects();
}

} // namespace tavo::devkit
