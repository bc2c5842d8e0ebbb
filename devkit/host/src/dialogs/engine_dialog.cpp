#include "dialogs/engine_dialog.h"

#include <tavo/sdk/helpers/string_map.h>

#include "metadata/metadata.h"

namespace tavo::devkit
{

EngineDialog::EngineDialog(sdk::Ptr<sdk::analytics::IEngine> engine, MetadataSink& sink) :
    m_engine(std::move(engine)),
    m_sink(sink)
{}

DialogAnswer EngineDialog::refresh()
{
    const std::lock_guard lock(m_mutex);
    return takeResult(m_engine->pluginSideSettings());
}

DialogAnswer EngineDialog::apply(const SettingValues& values)
{
    const std::lock_guard lock(m_mutex);
    m_shown.values = values;
    return takeResult(m_engine->setSettings(sdk::makePtr<sdk::StringMap>(values).get()));
}

DialogAnswer EngineDialog::takeResult(sdk::Result<const sdk::ISettingsResponse*> result)
{
    m_shown.errors.clear();
    m_shown.failure.clear();
    if (!result.isOk())
    {
        m_shown.failure = takeText(result.errorMessage);
        return m_shown;
    }
    const sdk::Ptr<const sdk::ISettingsResponse> response(result.value);
    if (!response)
        return m_shown;
    for (const auto& [name, value] : takeMap(response->values()))
        m_shown.values[name] = value;
    m_shown.errors = takeMap(response->errors());
    const std::string model = takeText(response->model());
    if (!model.empty() && model != m_shown.model)
    {
        m_shown.model = model;
        m_sink.writeDocument("engineSettingsModel", nullptr, model);
    }
    return m_shown;
}

} // namespace tavo::devkit
