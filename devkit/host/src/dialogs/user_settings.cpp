#include "dialogs/user_settings.h"

#include <functional>

#include <stdexcept>

#include "common/json.h"
#include "records/records.h"

namespace tavo::devkit
{

namespace
{

constexpr char kAllDevices[] = "*";

// The coordinates must be reals: an integer in a line reads as 0.
constexpr char kMiddleLine[] = R"({"figure":{"points":[[0.5,0.0],[0.5,1.0]]}})";

SettingValues readValues(yyjson_val* object)
{
    SettingValues values;
    for (const auto& [name, value] : jsonMembers(object))
        values[name] = yyjson_is_str(value) ? stringMember(object, name.c_str()) : toText(value);
    return values;
}

} // namespace

UserSettings UserSettings::parse(std::string_view text)
{
    const JsonDocument document = parseJsonOrThrow(text, "settings");
    yyjson_val* const root = yyjson_doc_get_root(document.get());
    if (!yyjson_is_obj(root))
        throw std::runtime_error("settings: the root is no object");

    UserSettings settings;
    for (const auto& [name, value] : jsonMembers(root))
    {
        if (!yyjson_is_obj(value))
            throw std::runtime_error("settings: the values of a device are no object");
        settings.m_byDevice[name] = readValues(value);
    }
    return settings;
}

UserSettings UserSettings::defaults()
{
    UserSettings settings;
    settings.m_byDevice[kAllDevices] = {
        {"deviceActiveSwitch", "true"}, {"lineCrossingLine", kMiddleLine}};
    return settings;
}

SettingValues UserSettings::valuesFor(std::string_view deviceId) const
{
    SettingValues values;
    for (const auto& [device, own] : m_byDevice)
    {
        if (isSameId(device, deviceId))
            values.insert(own.begin(), own.end());
    }
    if (const auto all = m_byDevice.find(kAllDevices); all != m_byDevice.end())
        values.insert(all->second.begin(), all->second.end()); // adds what is not there yet
    return values;
}

std::string toJson(const SettingValues& values)
{
    JsonMaker json;
    for (const auto& [name, value] : values)
        json.add(name, value);
    return json.text();
}

SettingValues parseSettingValues(std::string_view json)
{
    const JsonDocument document = parseJson(json);
    return readValues(yyjson_doc_get_root(document.get()));
}

std::string settingsVersion(const SettingValues& values)
{
    return std::to_string(std::hash<std::string>()(toJson(values)));
}

} // namespace tavo::devkit
