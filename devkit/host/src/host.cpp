#include "host.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <tavo/sdk/helpers/string_map.h>

#include "device_info.h"
#include "engine_side.h"
#include "metadata.h"
#include "records.h"

namespace tavo::devkit
{

namespace
{

std::string readFile(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw std::runtime_error(file + ": cannot be read");
    return {std::istreambuf_iterator<char>(in), {}};
}

// The value of a result of the library's, or the reason why there is none as an exception.
template <class Value>
Value valueOrThrow(const char* what, sdk::Result<Value> result)
{
    if (!result.isOk())
        throw std::runtime_error(std::string(what) + " failed: " + takeText(result.errorMessage));
    return result.value;
}

} // namespace

Host::Host(Options options) :
    m_options(std::move(options)),
    m_console(m_options.metadataFile == "-"),
    m_sink(m_options.metadataFile),
    m_pendingPresses(m_options.presses)
{
    m_library = std::make_unique<Library>(m_options.plugin);
    openRecords();
    m_restService = std::make_unique<RestService>(*m_store);
    std::filesystem::create_directories(m_options.workDir);
    m_utilityProvider = sdk::makePtr<UtilityProvider>(
        readIdentity(*m_store), std::filesystem::absolute(m_options.workDir).string(),
        *m_restService);
    obtainEngine();

    m_annotator = makeAnnotator();
    const std::vector<std::string> deviceIds = m_store->ids(RecordKind::device);
    const size_t count = m_options.cameras ? size_t(m_options.cameras) : deviceIds.size();
    for (size_t i = 0; i < std::min(count, deviceIds.size()); ++i)
        obtainDevice(int(i), deviceIds[i]);
}

Host::~Host()
{
    stopVideo();
    for (const auto& device : m_devices)
        device->agent->finalize();
    m_devices.clear();
    m_engine.reset();
    m_plugin.reset();
    m_restService.reset();
    if (m_library->liveObjects() != 0)
    {
        m_console.line(
            "Objects of the library that were never released: " +
            std::to_string(m_library->liveObjects()));
    }
}

void Host::openRecords()
{
    m_store = m_options.databaseFile.empty() ? makeMemoryRecordStore()
                                             : openDatabaseRecordStore(m_options.databaseFile);
    seedRecords(
        *m_store, m_options.recordsFile.empty() ? "" : readFile(m_options.recordsFile),
        std::max(m_options.cameras, 1));
    if (!m_options.settingsFile.empty())
        m_settingsText = readFile(m_options.settingsFile);
}

void Host::obtainEngine()
{
    m_plugin = m_library->createPlugin();
    m_plugin->setUtilityProvider(m_utilityProvider.get());
    const std::string manifest = takeText(valueOrThrow("manifest", m_plugin->manifest()));
    m_sink.writeDocument("integrationManifest", nullptr, manifest);

    m_engine.reset();
    m_engine =
        sdk::Ptr<sdk::analytics::IEngine>(valueOrThrow("obtainEngine", m_plugin->obtainEngine()));
    m_engine->setEngineInfo(sdk::makePtr<EngineInfo>().get());
    m_engine->setHandler(sdk::makePtr<EngineHandler>(m_sink, m_console).get());
    m_sink.writeDocument(
        "engineManifest", nullptr, takeText(valueOrThrow("manifest", m_engine->manifest())));
    // The engine has no settings of its own; a server hands over the empty set all the same.
    const sdk::Ptr<const sdk::ISettingsResponse> answer(
        valueOrThrow("setSettings", m_engine->setSettings(sdk::makePtr<sdk::StringMap>().get())));
    const sdk::Ptr<const sdk::ISettingsResponse> settings(
        valueOrThrow("pluginSideSettings", m_engine->pluginSideSettings()));
    if (settings)
        m_sink.writeDocument("engineSettingsModel", nullptr, takeText(settings->model()));
    m_console.line("Library with SDK " + m_library->sdkVersion() + ": " + manifest);
}

void Host::obtainDevice(int index, const std::string& deviceId)
{
    auto device = std::make_unique<Device>();
    device->origin = {index, deviceId};
    const auto info =
        sdk::makePtr<DeviceInfo>(m_store->find(RecordKind::device, deviceId).value_or("{}"));
    if (!m_engine->isCompatible(info.get()))
        throw std::runtime_error("The engine does not take device " + deviceId + ".");
    const sdk::Ptr<sdk::analytics::IDeviceAgent> agent(
        valueOrThrow("doObtainDeviceAgent", m_engine->doObtainDeviceAgent(info.get())));
    device->agent = sdk::interfaceCast<sdk::analytics::IConsumingDeviceAgent>(agent);
    if (!device->agent)
        throw std::runtime_error("The device agent takes no data.");

    Annotator* const annotator = index == m_options.annotatedCamera ? m_annotator.get() : nullptr;
    device->handler = sdk::makePtr<AgentHandler>(
        device->origin, AgentHandler::Receivers{m_sink, device->statistics, m_console, annotator});
    device->agent->setHandler(device->handler.get());
    const sdk::Ptr<const sdk::IString> manifest(
        valueOrThrow("manifest", device->agent->manifest()));
    device->handler->pushManifest(manifest.get());
    device->dialog = std::make_unique<SettingsDialog>(
        device->agent, device->origin, userValues(deviceId),
        SettingsDialog::Surroundings{*m_store, m_sink, m_console, m_options.showDialog});
    device->camera =
        std::make_unique<Camera>(index, device->agent, device->statistics, annotator, m_console);
    m_devices.push_back(std::move(device));
}

std::unique_ptr<Annotator> Host::makeAnnotator() const
{
    if (m_options.annotatedFile.empty() && m_options.contactSheetFile.empty())
        return nullptr;
    const std::vector<std::string> deviceIds = m_store->ids(RecordKind::device);
    if (size_t(m_options.annotatedCamera) >= deviceIds.size())
        throw std::runtime_error("There is no camera to draw under that index.");
    SettingValues values = parseSettingValues(
        m_store->find(RecordKind::settings, deviceIds[size_t(m_options.annotatedCamera)])
            .value_or("{}"));
    for (const auto& [name, value] : userValues(deviceIds[size_t(m_options.annotatedCamera)]))
        values[name] = value;
    return std::make_unique<Annotator>(Annotator::Output{
        m_options.annotatedFile, m_options.contactSheetFile,
        readFigure(values["lineCrossingLine"])});
}

// Without a settings file a device that has been set up before stays as it was.
SettingValues Host::userValues(const std::string& deviceId) const
{
    if (!m_options.settingsFile.empty())
        return UserSettings::parse(m_settingsText).valuesFor(deviceId);
    if (m_store->find(RecordKind::settings, deviceId))
        return {};
    return UserSettings::defaults().valuesFor(deviceId);
}

} // namespace tavo::devkit
