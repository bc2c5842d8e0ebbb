#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "agent_handler.h"
#include "dialogs/settings_dialog.h"
#include "engine_side.h"
#include "library/loaded_engine.h"
#include "metadata/statistics.h"
#include "sandbox.h"

namespace tavo::devkit
{

// A host in a sandbox, whose every step is somebody else's. One thread, but for push.
class DrivenHost
{
public:
    // Nothing is loaded yet. The sandbox is not owned.
    explicit DrivenHost(
        Sandbox& sandbox, LoadedEngine::MakePlugin makePlugin = &Library::createPlugin);
    ~DrivenHost() { (void)unload(); }
    DrivenHost(const DrivenHost&) = delete;
    DrivenHost& operator=(const DrivenHost&) = delete;

    // Brings the library up to an agent for each camera. Throws std::runtime_error; what there is
    // then stays.
    void load();

    // Lets go of everything. Gives how many objects of the library were not released; 0 where
    // nothing was loaded.
    std::int64_t unload();

    // All that a host asks before it shows anything. Throws std::runtime_error.
    void askForManifests();

    // Whether there is an agent for each camera.
    [[nodiscard]] bool isLoaded() const { return m_isLoaded; }

    [[nodiscard]] SettingsDialog& dialog(int camera) { return *m_cameras[camera]->dialog; }
    [[nodiscard]] CameraTotals totals(int camera) const;

    // The visible banners and buttons of the dialog as it was last drawn, a line each.
    [[nodiscard]] std::string dialogText(int camera) const;

    // A small picture of a dark ground with a light square, which is elsewhere with every step.
    // False if the library refused it. A thread for each camera.
    bool push(int camera, int step);

    // What the library produced so far, a JSON object a line.
    [[nodiscard]] std::string produced();

private:
    struct Camera
    {
        CameraStatistics statistics;
        sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> agent;
        std::unique_ptr<SettingsDialog> dialog;
    };

    Sandbox& m_sandbox;
    const LoadedEngine::MakePlugin m_makePlugin;
    Console m_console{/*toStandardError*/ true};
    MetadataSink m_sink;
    std::optional<LoadedEngine> m_engine;
    std::vector<std::unique_ptr<Camera>> m_cameras;
    bool m_isLoaded = false;
};

} // namespace tavo::devkit
