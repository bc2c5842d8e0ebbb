#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/options.h"
#include "common/stop_signal.h"
#include "device_list.h"
#include "dialogs/engine_dialog.h"
#include "host_observer.h"
#include "library/loaded_engine.h"
#include "media/annotator.h"
#include "media/video_feeds.h"
#include "metadata/metadata_sink.h"
#include "records/record_store.h"

namespace tavo::devkit
{

// The whole host: from the library's file to the summary. One thread; the feeds, the cameras and
// the REST service have their own.
class Host
{
public:
    // Loads the library and obtains its engine and one device agent for each camera. The observer,
    // which may be null, is not owned and outlives the host. Throws std::runtime_error with what is
    // wrong.
    explicit Host(Options options, HostObserver* observer = nullptr);

    // Releases what the library gave, in the order in which a server does.
    ~Host();

    // Runs until the time is over, a signal comes or the video ends. Prints the summary. Gives
    // whether metadata came back. Throws std::runtime_error.
    [[nodiscard]] bool run();

    // For whoever works the host while it runs; any thread.
    [[nodiscard]] DeviceList& devices() { return *m_devices; }
    [[nodiscard]] EngineDialog& engineDialog() { return *m_engineDialog; }
    [[nodiscard]] const RecordStore& records() const { return *m_store; }
    [[nodiscard]] const VideoFeeds& feeds() const { return m_feeds; }
    [[nodiscard]] const Options& options() const { return m_options; }

private:
    void openRecords();
    void obtainEngine();
    void obtainDevices();
    [[nodiscard]] std::unique_ptr<Annotator> makeAnnotator() const;
    [[nodiscard]] SettingValues userValues(const std::string& deviceId) const;

    void mainLoop();
    void pressDueButtons(double seconds);
    void checkNames() const;
    void followManifests();
    void everySecond(double sinceLast);
    void checkVideo() const;
    void showTrouble(const Device& device);
    void finishAnnotation();
    void printSummary();
    void printResources(double seconds);
    [[nodiscard]] bool isMeant(const std::string& device, const Device& candidate) const;
    [[nodiscard]] CameraTotals allTotals() const;

private:
    // Each uses what stands above it, to the end.
    const Options m_options;
    HostObserver* const m_observer;
    Console m_console;
    MetadataSink m_sink;
    StopSignal m_stopSignal;
    std::unique_ptr<RecordStore> m_store;
    std::string m_settingsText; // of the settings file; empty without one
    std::unique_ptr<Annotator> m_annotator; // null: nothing to draw
    std::optional<LoadedEngine> m_engine; // there from the constructor on
    std::unique_ptr<EngineDialog> m_engineDialog;
    VideoFeeds m_feeds;
    std::unique_ptr<DeviceList> m_devices;
    std::vector<ButtonPress> m_pendingPresses;
    std::map<int, CameraTotals> m_lastShown; // by camera
    std::map<int, std::string> m_lastTrouble; // by camera
};

} // namespace tavo::devkit
