#include "core/plugin.h"

#include <filesystem>
#include <system_error>

#include <tavo/sdk/helpers/error.h>

#include "base/ini.h"
#include "base/plugin_version.h"
#include "core/engine.h"
#include "device_agent/dialog/dialog_items.h"
#include "remote/text_helpers.h"
#include "utils/paths.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kDescription[] =
    "Orlix Manager is a universal tool for deploying and managing AI models. It transforms video "
    "streams from any camera into intelligent, actionable insights with minimal engineering effort.";

// The host's home directory, empty if the host names none.
std::string homeDirectory(const sdk::Ptr<sdk::IUtilityProvider>& provider)
{
    if (!provider)
        return {};
    const sdk::Ptr<const sdk::IString> home(provider->homeDirectory());
    return home ? textOrEmpty(home->str()) : std::string();
}

void createFolder(const std::string& path)
{
    std::error_code error;
    std::filesystem::create_directories(pathFromUtf8(path), error);
    if (error)
        throw std::filesystem::filesystem_error("create_directories", pathFromUtf8(path), error);
}

} // namespace

sdk::Result<sdk::analytics::IEngine*> Plugin::doObtainEngine()
{
    const std::string home = homeDirectory(utilityProvider());
    std::string workingDirectory = home + "/tavo_orlix_manager";
    if (*ini().WorkingDirectory)
        workingDirectory = ini().WorkingDirectory;
    else if (home.empty()) // the folder would end up in the root of the file system
        return sdk::error(sdk::ErrorCode::otherError, "The host names no home directory");

    createFolder(workingDirectory);
    return sdk::Result<sdk::analytics::IEngine*>(new Engine(this, std::move(workingDirectory)));
}

std::string Plugin::manifestString() const
{
    auto [document, root] = newJsonObject();
    Item manifest(document.get(), root);
    manifest.text("id", "tavo.orlix")
        .text("name", "Tavo Orlix Manager")
        .text("description", kDescription)
        .text("vendor", "Tavo Systems.")
        .text("version", kPluginVersion);

    // What the host shows until there is an engine to ask.
    manifest.object("engineSettingsModel").text("type", "Settings").items();
    return jsonToText(std::move(document));
}

} // namespace tavo::vms_server_plugins::analytics::orlix

extern "C" tavo::sdk::IPlugin* createTavoPlugin()
{
    using tavo::vms_server_plugins::analytics::orlix::Plugin;
    return tavo::sdk::atBorder([]() -> tavo::sdk::IPlugin* { return new Plugin(); });
}
