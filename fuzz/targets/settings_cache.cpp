#include "device_agent/settings/settings_cache.h"
#include "fuzz_target.h"
#include "temporary_folder.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

// A cache file as it is found on the disk: what is read and written comes back the same.
void tavo::fuzz::run(std::string_view text)
{
    static const TemporaryFolder folder;
    const std::string path = settingsCachePath(folder.path(), "device");
    folder.write("device_settings_cache.txt", std::string(text));

    SettingValues values = loadSettingsCache(path);
    for (const auto& [key, value] : values)
        FUZZ_CHECK(
            key.find_first_of("=\n") == std::string::npos && value.find('\n') == std::string::npos);
    saveSettingsCache(path, values);
    values.erase(setting::kSelectedPipeline);
    values.erase(setting::kDeviceActive);
    FUZZ_CHECK(loadSettingsCache(path) == values);
}
