#pragma once

#include <memory>
#include <string>
#include <vector>

#include "agent_handler.h"
#include "camera.h"
#include "common/console.h"
#include "dialogs/settings_dialog.h"
#include "library/loaded_engine.h"
#include "media/annotator.h"
#include "media/frame_observer.h"
#include "media/video_feeds.h"
#include "metadata/metadata_sink.h"
#include "metadata/statistics.h"
#include "records/record_store.h"

namespace tavo::devkit
{

// One camera of the host: its agent, what comes back from it, its dialog, and the thread that
// pushes its frames.
class Device
{
public:
    // All are not owned and outlive the device; the pointers may be null.
    struct Surroundings
    {
        LoadedEngine& engine;
        RecordStore& store;
        MetadataSink& sink;
        Console& console;
        VideoFeeds& feeds;
        FrameObserver* observer = nullptr;
        Annotator* annotator = nullptr;
        bool showDialog = false;
    };

    // Obtains the agent. `source` is the video that the camera shows, `userValues` what the user
    // without hands enters. Throws std::runtime_error with what is wrong.
    Device(
        MetadataSink::Origin origin, std::string source, SettingValues userValues,
        Surroundings surroundings);

    // Ends the device where it has not ended.
    ~Device();

    void start();

    // Ends the flow of frames. Does nothing when there is none.
    void stop();

    // Gives up the agent: what is called afterwards finds nobody. Like start and stop not to be
    // called by two threads at once.
    void end();

    [[nodiscard]] const MetadataSink::Origin& origin() const { return m_origin; }
    [[nodiscard]] const std::string& source() const { return m_source; }
    [[nodiscard]] const CameraStatistics& statistics() const { return m_statistics; }
    [[nodiscard]] SettingsDialog& dialog() { return *m_dialog; }

    // Whether the types in the manifest have changed since this was last asked.
    [[nodiscard]] bool takeManifestChange() { return m_handler->takeManifestChange(); }

private:
    const MetadataSink::Origin m_origin;
    const std::string m_source;
    const Surroundings m_surroundings;
    CameraStatistics m_statistics;
    sdk::Ptr<AgentHandler> m_handler;
    sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> m_agent; // null once it has ended
    std::unique_ptr<SettingsDialog> m_dialog;
    std::unique_ptr<Camera> m_camera;
    bool m_isRunning = false;
};

} // namespace tavo::devkit
