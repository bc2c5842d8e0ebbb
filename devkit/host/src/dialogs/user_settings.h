#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tavo::devkit
{

using SettingValues = std::map<std::string, std::string>;

// What a user enters into the settings dialogs, by device.
class UserSettings
{
public:
    // `text` is a JSON object from a device's id, or "*" for all devices, to an object of setting
    // values. A value that is no string is entered as its JSON text, so that figures and switches
    // may be written as they are. Throws std::runtime_error when the text is of no use.
    static UserSettings parse(std::string_view text);

    // Switches the device on and draws a crossing line down the middle of the picture.
    static UserSettings defaults();

    // The values for all devices under those for this one.
    [[nodiscard]] SettingValues valuesFor(std::string_view deviceId) const;

private:
    std::map<std::string, SettingValues> m_byDevice;
};

// Setting values as the host keeps them: a JSON object of texts. What is no such object reads as
// empty.
[[nodiscard]] std::string toJson(const SettingValues& values);
[[nodiscard]] SettingValues parseSettingValues(std::string_view json);

// The same for the same values, and for hardly any others.
[[nodiscard]] std::string settingsVersion(const SettingValues& values);

} // namespace tavo::devkit
