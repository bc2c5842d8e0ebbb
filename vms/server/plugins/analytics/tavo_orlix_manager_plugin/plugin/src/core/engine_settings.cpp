#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/settings_response.h>

#include "base/deployment.h"
#include "core/engine.h"
#include "device_agent/dialog/dialog_items.h"
#include "utils/json.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// The dialog of the engine itself; empty when it cannot be told.
std::string settingsModel()
{
    const auto [document, root] = newJsonObject();
    Item(document.get(), root)
        .text("type", "Settings")
        .items()
        .addLink("Orlix Manager documentation", kDocumentationLink);
    return writeJson(document.get()).value_or("");
}

} // namespace

sdk::Result<const sdk::ISettingsResponse*> Engine::pluginSideSettings() const
{
    return sdk::atBorder(
        []() -> sdk::Result<const sdk::ISettingsResponse*>
        {
            const std::string model = settingsModel();
            if (model.empty())
            {
                log_info("Error: Failed to create engine settings JSON string.\n");
                return {};
            }
            auto response = sdk::makePtr<sdk::SettingsResponse>();
            response->setModel(model);
            return response.releasePtr();
        });
}

} // namespace tavo::vms_server_plugins::analytics::orlix
