#include "library_host.h"

#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/i_active_setting_changed_action.h>

#include "common/clock.h"
#include "device_info.h"
#include "dialogs/settings_dialog.h"
#include "engine_side.h"
#include "media/video_frame.h"
#include "records/records.h"

namespace tavo::devkit
{

namespace
{

constexpr int kWidth = 320;
constexpr int kHeight = 240;

// A light square that walks over a dark ground.
PicturePtr pictureAt(int step)
{
    auto picture = std::make_shared<Picture>();
    picture->width = kWidth;
    picture->height = kHeight;
    picture->pixels.assign(kWidth * kHeight * 3, 20);
    const int left = step * 4 % (kWidth - 60);
    for (int y = 90; y < 150; ++y)
    {
        const std::size_t begin = (std::size_t(y) * kWidth + left) * 3;
        std::fill_n(picture->pixels.begin() + begin, 60 * 3, 230);
    }
    return picture;
}

class ActiveSetting : public sdk::RefCountable<sdk::IActiveSettingChangedAction>
{
public:
    explicit ActiveSetting(std::string name) :
        m_name(std::move(name))
    {}

    const char* activeSettingName() const override { return m_name.c_str(); }
    const sdk::IStringMap* settingsValues() const override { return nullptr; }
    const sdk::IStringMap* params() const override { return nullptr; }

private:
    const std::string m_name;
};

} // namespace

LibraryHost::LibraryHost(std::string folder, RecordStore& store, Findings& findings) :
    m_folder(std::move(folder)),
    m_store(store),
    m_findings(findings)
{}

bool LibraryHost::load()
{
    failing_calls::forgetThreads(); // the listener is the first of an engine
    m_library = std::make_unique<Library>(TAVO_PLUGIN_FILE);
    m_restService = std::make_unique<RestService>(m_store);
    try
    {
        const failing_calls::Inside inside;
        m_plugin = m_library->createPlugin();
    }
    catch (const std::bad_alloc&)
    {
        m_findings.add("createTavoPlugin has thrown");
    }
    catch (const std::runtime_error&)
    {} // it gave none
    if (!m_plugin)
        return false;

    const auto provider = sdk::makePtr<GuardedProvider>(
        readIdentity(m_store), m_folder + "/home", *m_restService, m_findings);
    inLibrary(
        m_findings, "setUtilityProvider", [&] { m_plugin->setUtilityProvider(provider.get()); });
    sdk::Result<sdk::analytics::IEngine*> engine;
    inLibrary(m_findings, "obtainEngine", [&] { engine = m_plugin->obtainEngine(); });
    take<sdk::analytics::IEngine*>(engine, [&](auto* value) { m_engine = sdk::Ptr(value); });
    if (!m_engine)
        return false;
    const auto engineHandler = sdk::makePtr<EngineHandler>(m_sink, m_console);
    inLibrary(m_findings, "setHandler", [&] { m_engine->setHandler(engineHandler.get()); });

    const std::string id = defaultDeviceId(0);
    const auto info = sdk::makePtr<DeviceInfo>(*m_store.find(RecordKind::device, id));
    sdk::Result<sdk::analytics::IDeviceAgent*> result;
    inLibrary(
        m_findings, "doObtainDeviceAgent",
        [&] { result = m_engine->doObtainDeviceAgent(info.get()); });
    sdk::Ptr<sdk::analytics::IDeviceAgent> agent;
    take<sdk::analytics::IDeviceAgent*>(result, [&](auto* value) { agent = sdk::Ptr(value); });
    if (!agent)
        return false;
    m_agent = sdk::interfaceCast<sdk::analytics::IConsumingDeviceAgent>(agent);
    agent.reset();
    const auto handler = sdk::makePtr<GuardedAgentHandler>(
        MetadataSink::Origin{0, id}, AgentHandler::Receivers{m_sink, m_statistics, m_console});
    inLibrary(m_findings, "setHandler", [&] { m_agent->setHandler(handler.get()); });
    return true;
}

void LibraryHost::unload()
{
    if (!m_library)
        return;
    inLibrary(
        m_findings, "the end of an agent",
        [&]
        {
            if (m_agent)
                m_agent->finalize();
            m_agent.reset();
        });
    inLibrary(m_findings, "the end of an engine", [&] { m_engine.reset(); });
    inLibrary(m_findings, "the end of a plugin", [&] { m_plugin.reset(); });
    m_restService.reset();
    if (const auto left = m_library->liveObjects())
        m_findings.add(std::to_string(left) + " objects of the library were never released");
    m_library.reset();
}

template <class Value>
bool LibraryHost::take(const sdk::Result<Value>& result, const std::function<void(Value)>& use)
{
    const sdk::Ptr<const sdk::IString> message(result.errorMessage);
    if (!result.isOk())
        return false;
    use(result.value);
    return true;
}

void LibraryHost::takeSettings(const sdk::ISettingsResponse* response)
{
    const sdk::Ptr<const sdk::ISettingsResponse> owner(response);
    if (!owner)
        return;
    static_cast<void>(takeMap(owner->values()));
    m_dialog.clear();
    for (const std::string& line : describeModel(takeText(owner->model())))
        m_dialog += line + "\n";
}

bool LibraryHost::askForManifests()
{
    if (!m_agent)
        return false;
    bool isOk = true;
    const auto drop = [](const sdk::IString* text) { static_cast<void>(takeText(text)); };
    sdk::Result<const sdk::IString*> result;
    isOk &= inLibrary(m_findings, "manifest of the plugin", [&] { result = m_plugin->manifest(); });
    isOk &= take<const sdk::IString*>(std::exchange(result, {}), drop);
    isOk &= inLibrary(m_findings, "manifest of the engine", [&] { result = m_engine->manifest(); });
    isOk &= take<const sdk::IString*>(std::exchange(result, {}), drop);
    isOk &= inLibrary(m_findings, "manifest of the agent", [&] { result = m_agent->manifest(); });
    isOk &= take<const sdk::IString*>(std::exchange(result, {}), drop);
    sdk::Result<const sdk::ISettingsResponse*> settings;
    isOk &= inLibrary(
        m_findings, "settings of the engine", [&] { settings = m_engine->pluginSideSettings(); });
    isOk &= take<const sdk::ISettingsResponse*>(
        settings, [](auto* value) { sdk::Ptr<const sdk::ISettingsResponse> owner(value); });
    return isOk;
}

bool LibraryHost::refreshDialog()
{
    if (!m_agent)
        return false;
    sdk::Result<const sdk::ISettingsResponse*> result;
    inLibrary(m_findings, "pluginSideSettings", [&] { result = m_agent->pluginSideSettings(); });
    return take<const sdk::ISettingsResponse*>(result, [&](auto* value) { takeSettings(value); });
}

bool LibraryHost::apply(const SettingValues& values)
{
    if (!m_agent)
        return false;
    const auto map = sdk::makePtr<sdk::StringMap>(values);
    sdk::Result<const sdk::ISettingsResponse*> result;
    inLibrary(m_findings, "setSettings", [&] { result = m_agent->setSettings(map.get()); });
    return take<const sdk::ISettingsResponse*>(result, [&](auto* value) { takeSettings(value); });
}

bool LibraryHost::press(const std::string& button)
{
    if (!m_agent)
        return false;
    const auto action = sdk::makePtr<ActiveSetting>(button);
    using Response = const sdk::IActiveSettingChangedResponse*;
    sdk::Result<Response> result;
    inLibrary(
        m_findings, "getSettingsOnActiveSettingChange",
        [&] { m_agent->getSettingsOnActiveSettingChange(&result, action.get()); });
    return take<Response>(
        result,
        [&](Response value)
        {
            const sdk::Ptr<const sdk::IActiveSettingChangedResponse> owner(value);
            if (owner)
                takeSettings(owner->settingsResponse());
        });
}

bool LibraryHost::pushFrame(int step)
{
    if (!m_agent)
        return false;
    const auto frame = sdk::makePtr<VideoFrame>(pictureAt(step), wallClockUs());
    sdk::Result<void> result;
    inLibrary(
        m_findings, "doPushDataPacket", [&] { m_agent->doPushDataPacket(&result, frame.get()); });
    const sdk::Ptr<const sdk::IString> message(result.errorMessage);
    return result.isOk();
}

} // namespace tavo::devkit
