#include "device_agent/settings/settings_cache.h"

#include <array>
#include <string_view>

#include "remote/file_helpers.h"
#include "utils/files.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

std::string readAll(const std::string& path)
{
    std::string text;
    const FileStream file(file_open_read(path.c_str()));
    if (!file)
        return text;
    std::array<char, 4096> block;
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), file.get()))
        text.append(block.data(), size);
    return text;
}

} // namespace

std::string settingsCachePath(const std::string& settingsCacheDir, const std::string& deviceId)
{
    return settingsCacheDir + "/" + deviceId + "_settings_cache.txt";
}

SettingValues loadSettingsCache(const std::string& path)
{
    SettingValues values;
    const std::string text = readAll(path);
    std::string_view rest = text;
    while (!rest.empty())
    {
        const std::size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        const std::size_t separator = line.find('=');
        if (separator != std::string_view::npos)
            values[std::string(line.substr(0, separator))] = line.substr(separator + 1);
    }
    return values;
}

void saveSettingsCache(const std::string& path, const SettingValues& values)
{
    std::string text;
    for (const auto& [key, value] : values)
    {
        if (key != setting::kSelectedPipeline && key != setting::kDeviceActive)
            text += key + '=' + value + '\n';
    }
    // A full disk costs what is new and nothing else.
    if (!replaceFile(path, text))
        log_info("Failed to open settings cache for writing: %s\n", path.c_str());
}

} // namespace tavo::vms_server_plugins::analytics::orlix
