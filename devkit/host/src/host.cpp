#include "host.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "engine_side.h"
#include "metadata/metadata.h"
#include "metadata/results.h"
#include "records/records.h"

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

} // namespace

Host::Host(Options options, HostObserver* observer) :
    m_options(std::move(options)),
    m_observer(observer),
    m_console(m_options.metadataFile == "-"),
    m_sink(m_options.metadataFile, observer),
    m_feeds(m_options.size),
    m_pendingPresses(m_options.presses)
{
    openRecords();
    m_engine.emplace(m_options.plugin, *m_store);
    obtainEngine();
    m_annotator = makeAnnotator();
    obtainDevices();
}

Host::~Host()
{
    m_devices.reset();
    m_engineDialog.reset();
    if (const std::int64_t left = m_engine->end())
        m_console.line("Objects of the library that were never released: " + std::to_string(left));
}

void Host::openRecords()
{
    m_store = m_options.databaseFile.empty() ? makeMemoryRecordStore()
                                             : openDatabaseRecordStore(m_options.databaseFile);
    seedRecords(
        *m_store, m_options.recordsFile.empty() ? "" : readFile(m_options.recordsFile),
        m_options.video.empty() ? m_options.cameras : std::max(m_options.cameras, 1));
    if (!m_options.settingsFile.empty())
        m_settingsText = readFile(m_options.settingsFile);
}

void Host::obtainEngine()
{
    std::filesystem::create_directories(m_options.workDir);
    m_engine->obtain(m_options.workDir, sdk::makePtr<EngineHandler>(m_sink, m_console).get());
    const std::string manifest = takeText(valueOrThrow("manifest", m_engine->plugin()->manifest()));
    m_sink.writeDocument("integrationManifest", nullptr, manifest);
    m_sink.writeDocument(
        "engineManifest", nullptr,
        takeText(valueOrThrow("manifest", m_engine->engine()->manifest())));
    m_engineDialog = std::make_unique<EngineDialog>(m_engine->engine(), m_sink);
    // The engine has no settings of its own; a server hands over the empty set all the same.
    for (const DialogAnswer& answer : {m_engineDialog->apply({}), m_engineDialog->refresh()})
    {
        if (!answer.failure.empty())
            throw std::runtime_error("The engine's settings failed: " + answer.failure);
    }
    m_console.line("Library with SDK " + m_engine->library().sdkVersion() + ": " + manifest);
}

void Host::obtainDevices()
{
    m_devices = std::make_unique<DeviceList>(DeviceList::Plan{
        Device::Surroundings{
            *m_engine, *m_store, m_sink, m_console, m_feeds, m_observer, /*annotator*/ nullptr,
            m_options.showDialog},
        m_options.video, m_annotator.get(), m_options.annotatedCamera,
        [this](const std::string& deviceId) { return userValues(deviceId); }});
    const std::vector<std::string> deviceIds = m_store->ids(RecordKind::device);
    const size_t count = m_options.cameras ? size_t(m_options.cameras) : deviceIds.size();
    for (size_t i = 0; i < std::min(count, deviceIds.size()); ++i)
        m_devices->obtain(deviceIds[i]);
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
    return tavo::devkit::makeAnnotator(
        {m_options.annotatedFile, m_options.contactSheetFile, values["lineCrossingLine"]});
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
