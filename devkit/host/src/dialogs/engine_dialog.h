#pragma once

#include <tavo/sdk/analytics/i_engine.h>
#include <tavo/sdk/ptr.h>

#include "dialogs/settings_dialog.h"
#include "metadata/metadata_sink.h"

namespace tavo::devkit
{

// The engine's settings dialog: one for all cameras. Any thread.
class EngineDialog
{
public:
    // Both outlive the dialog; the sink is not owned.
    EngineDialog(sdk::Ptr<sdk::analytics::IEngine> engine, MetadataSink& sink);

    DialogAnswer refresh();

    // Hands over `values` as the whole of the engine's settings.
    DialogAnswer apply(const SettingValues& values);

private:
    DialogAnswer takeResult(sdk::Result<const sdk::ISettingsResponse*> result);

private:
    std::mutex m_mutex; // one call at a time goes to the library
    const sdk::Ptr<sdk::analytics::IEngine> m_engine;
    MetadataSink& m_sink;
    DialogAnswer m_shown;
};

} // namespace tavo::devkit
