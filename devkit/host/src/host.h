#pragma once

#include <memory>
#include <string>
#include <vector>

#include "agent_handler.h"
#include "annotator.h"
#include "camera.h"
#include "console.h"
#include "library.h"
#include "metadata_sink.h"
#include "options.h"
#include "record_store.h"
#include "rest_service.h"
#include "settings_dialog.h"
#include "stop_signal.h"
#include "utility_provider.h"
#include "video_feed.h"

namespace tavo::devkit
{

// The whole host: from the library's file to the summary. One thread; the feed, the cameras and the
// REST service have their own.
class Host
{
public:
    // Loads the library and obtains its engine and one device agent for each camera. Throws
    // std::runtime_error with what is wrong.
    explicit Host(Options options);

    // Releases what the library gave, in the order in which a server does.
    ~Host();

    // Runs until the time is over, a signal comes or the video ends. Prints the summary. Gives
    // whether metadata came back. Throws std::runtime_error.
    [[nodiscard]] bool run();

private:
    // Everything of one camera. The dialog and the camera hold the agent.
    struct Device
    {
        MetadataSink::Origin origin;
        CameraStatistics statistics;
        sdk::Ptr<AgentHandler> handler;
        sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> agent;
        std::unique_ptr<SettingsDialog> dialog;
        std::unique_ptr<Camera> camera;
        CameraTotals lastShown;
    };

    void openRecords();
    void obtainEngine();
    void obtainDevice(int index, const std::string& deviceId);
    void startVideo();
    [[nodiscard]] std::unique_ptr<Annotator> makeAnnotator() const;
    [[nodiscard]] SettingValues userValues(const std::string& deviceId) const;

    void mainLoop();
    void pressDueButtons(double seconds);
    void followManifests();
    void everySecond(double sinceLast);
    void stopVideo();
    void finishAnnotation();
    void printSummary();
    void printResources(double seconds);
    [[nodiscard]] bool isMeant(const std::string& device, const Device& candidate) const;
    [[nodiscard]] CameraTotals allTotals() const;

private:
    // Each uses what stands above it, to the end: the engine asks the REST service while it is
    // being destroyed, and the library's code goes last.
    const Options m_options;
    Console m_console;
    MetadataSink m_sink;
    StopSignal m_stopSignal;
    std::unique_ptr<RecordStore> m_store;
    std::string m_settingsText; // of the settings file; empty without one
    std::unique_ptr<Library> m_library;
    std::unique_ptr<RestService> m_restService; // may be in the library's code to its end
    sdk::Ptr<UtilityProvider> m_utilityProvider;
    std::unique_ptr<Annotator> m_annotator; // null: nothing to draw
    sdk::Ptr<sdk::analytics::IIntegration> m_plugin;
    sdk::Ptr<sdk::analytics::IEngine> m_engine;
    std::vector<std::unique_ptr<Device>> m_devices;
    std::unique_ptr<VideoFeed> m_feed;
    std::vector<ButtonPress> m_pendingPresses;
};

} // namespace tavo::devkit
