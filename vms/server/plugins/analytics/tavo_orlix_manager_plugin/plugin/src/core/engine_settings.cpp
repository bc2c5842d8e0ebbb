#include <tavo/sdk/helpers/error.h>
#include <tavo/sdk/helpers/settings_response.h>

#include "base/deployment.h"
#include "core/engine.h"
#include "utils/json.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

// The dialog of the engine itself; empty when it cannot be told.
std::string settingsModel()
{
    const MutableJsonDocument document = newJsonDocument();
    yyjson_mut_doc* const json = document.get();
    yyjson_mut_val* const model = yyjson_mut_obj(json);
    yyjson_mut_doc_set_root(json, model);
    yyjson_mut_obj_add_str(json, model, "type", "Settings");
    yyjson_mut_val* const items = yyjson_mut_obj_add_arr(json, model, "items");
    yyjson_mut_val* const link = yyjson_mut_arr_add_obj(json, items);
    yyjson_mut_obj_add_str(json, link, "type", "Link");
    yyjson_mut_obj_add_str(json, link, "caption", "Orlix Manager documentation");
    yyjson_mut_obj_add_str(json, link, "url", kDocumentationLink);

    return writeJson(json).value_or("");
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
