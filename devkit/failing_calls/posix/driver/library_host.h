#pragma once

#include <memory>
#include <string>

#include <tavo/sdk/analytics/i_consuming_device_agent.h>
#include <tavo/sdk/analytics/i_engine.h>

#include "common/console.h"
#include "dialogs/user_settings.h"
#include "findings.h"
#include "guarded_host.h"
#include "library/library.h"
#include "metadata/metadata_sink.h"
#include "records/record_store.h"
#include "records/rest_service.h"

namespace tavo::devkit
{

// A host with one camera, which takes what the library gives as a host must, a failure that it is
// told of included. All else is a finding. One thread.
class LibraryHost
{
public:
    // The store and the findings are not owned. Its files are in the folder.
    LibraryHost(std::string folder, RecordStore& store, Findings& findings);
    ~LibraryHost() { unload(); }
    LibraryHost(const LibraryHost&) = delete;
    LibraryHost& operator=(const LibraryHost&) = delete;

    // Brings the library up to a device agent. False if that failed; what there is stays.
    bool load();

    // Lets go of everything, and looks whether anything of the library is left.
    void unload();

    // These are false if the library is not there, or tells of a failure.
    bool askForManifests();
    bool refreshDialog();
    bool apply(const SettingValues& values);
    bool press(const std::string& button);
    bool pushFrame(int step);

    // The banners and buttons of the dialog as it was last drawn, a line each.
    [[nodiscard]] const std::string& dialog() const { return m_dialog; }

    [[nodiscard]] CameraTotals totals() const { return m_statistics.totals(); }

private:
    template <class Value>
    bool take(const sdk::Result<Value>& result, const std::function<void(Value)>& use);
    void takeSettings(const sdk::ISettingsResponse* response);

    const std::string m_folder;
    RecordStore& m_store;
    Findings& m_findings;
    Console m_console{/*toStandardError*/ true};
    MetadataSink m_sink{""};
    CameraStatistics m_statistics;
    std::unique_ptr<Library> m_library;
    std::unique_ptr<RestService> m_restService;
    sdk::Ptr<sdk::analytics::IIntegration> m_plugin;
    sdk::Ptr<sdk::analytics::IEngine> m_engine;
    sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> m_agent;
    std::string m_dialog;
};

} // namespace tavo::devkit
