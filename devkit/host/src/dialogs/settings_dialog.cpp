#include "dialogs/settings_dialog.h"

#include <algorithm>

#include <tavo/sdk/helpers/ref_countable.h>
#include <tavo/sdk/helpers/string_map.h>
#include <tavo/sdk/i_active_setting_changed_action.h>

#include "metadata/metadata.h"

namespace tavo::devkit
{

namespace
{

class ActiveSetting : public sdk::RefCountable<sdk::IActiveSettingChangedAction>
{
public:
    ActiveSetting(std::string name, const SettingValues& values) :
        m_name(std::move(name)),
        m_values(sdk::makePtr<sdk::StringMap>(values))
    {}

    // IActiveSettingChangedAction:
    const char* activeSettingName() const override { return m_name.c_str(); }
    const sdk::IStringMap* settingsValues() const override
    {
        m_values->addRef();
        return m_values.get();
    }
    const sdk::IStringMap* params() const override { return nullptr; }

private:
    const std::string m_name;
    const sdk::Ptr<sdk::StringMap> m_values;
};

std::string onOneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

// In order; `visit` says whether those inside are of interest too.
template <class Visit>
void visitItems(yyjson_val* parent, const Visit& visit)
{
    for (yyjson_val* const item : jsonElements(yyjson_obj_get(parent, "items")))
    {
        if (visit(item))
            visitItems(item, visit);
    }
}

} // namespace

SettingsDialog::SettingsDialog(
    sdk::Ptr<sdk::analytics::IConsumingDeviceAgent> agent, MetadataSink::Origin origin,
    SettingValues userValues, Surroundings surroundings) :
    m_agent(std::move(agent)),
    m_origin(std::move(origin)),
    m_userValues(std::move(userValues)),
    m_surroundings(surroundings)
{}

DialogAnswer SettingsDialog::refresh()
{
    const std::lock_guard lock(m_mutex);
    return refreshLocked();
}

void SettingsDialog::apply()
{
    const std::lock_guard lock(m_mutex);
    SettingValues values = refreshLocked().values;
    for (const auto& [name, value] : m_userValues)
    {
        values[name] = value;
        if (!m_namesShown.contains(name) && m_namesMissed.insert(name).second)
            m_surroundings.console.line("The dialog has no setting " + name + " yet.");
    }
    (void)send(values);
}

DialogAnswer SettingsDialog::apply(const SettingValues& values, const std::string& version)
{
    const std::lock_guard lock(m_mutex);
    m_userValues.clear();
    SettingValues all = storedValues();
    if (!version.empty() && version != settingsVersion(all))
    {
        DialogAnswer answer{std::move(all), {}, {}, {}, {}, {}};
        answer.isOutdated = true;
        return answer;
    }
    for (const auto& [name, value] : values)
        all[name] = value;
    return send(all);
}

DialogAnswer SettingsDialog::press(const std::string& button)
{
    const std::lock_guard lock(m_mutex);
    const SettingValues before = refreshLocked().values;
    if (!m_namesShown.contains(button))
    {
        m_namesMissed.insert(button);
        m_surroundings.console.line("The dialog has no button " + button + " yet.");
    }
    DialogAnswer answer = pressLocked(button, before);
    return answer.values != before ? send(answer.values) : answer;
}

DialogAnswer SettingsDialog::press(const std::string& setting, const SettingValues& values)
{
    const std::lock_guard lock(m_mutex);
    return pressLocked(setting, values);
}

std::set<std::string> SettingsDialog::namesMissed() const
{
    const std::lock_guard lock(m_mutex);
    return m_namesMissed;
}

bool SettingsDialog::hasShown(const std::string& name) const
{
    const std::lock_guard lock(m_mutex);
    return m_namesShown.contains(name);
}

std::string SettingsDialog::lastModel() const
{
    const std::lock_guard lock(m_mutex);
    return m_lastModel;
}

void SettingsDialog::close()
{
    const std::lock_guard lock(m_mutex);
    m_agent.reset();
}

DialogAnswer SettingsDialog::refreshLocked()
{
    DialogAnswer answer{storedValues(), {}, {}, {}, {}, {}};
    if (!m_agent)
        return fail(std::move(answer), "pluginSideSettings", nullptr);
    const SettingValues before = answer.values;
    const auto result = m_agent->pluginSideSettings();
    if (!result.isOk())
        return fail(std::move(answer), "pluginSideSettings", result.errorMessage);
    takeResponse(result.value, &answer);
    if (answer.values != before)
        m_surroundings.store.put(RecordKind::settings, m_origin.deviceId, toJson(answer.values));
    return answer;
}

DialogAnswer SettingsDialog::pressLocked(const std::string& setting, const SettingValues& values)
{
    DialogAnswer answer{values, {}, {}, {}, {}, {}};
    if (!m_agent)
        return fail(std::move(answer), setting, nullptr);
    sdk::Result<const sdk::IActiveSettingChangedResponse*> result;
    m_agent->getSettingsOnActiveSettingChange(
        &result, sdk::makePtr<ActiveSetting>(setting, values).get());
    if (!result.isOk())
        return fail(std::move(answer), setting, result.errorMessage);
    const sdk::Ptr<const sdk::IActiveSettingChangedResponse> response(result.value);
    if (!response)
        return answer;

    if (const sdk::Ptr<const sdk::IActionResponse> action{response->actionResponse()})
    {
        answer.actionUrl = action->actionUrl();
        answer.messageToUser = action->messageToUser();
        m_surroundings.sink.writeActionResponse(m_origin, answer.actionUrl, answer.messageToUser);
        m_surroundings.console.line(setting + " opens " + answer.actionUrl);
    }
    takeResponse(response->settingsResponse(), &answer);
    return answer;
}

SettingValues SettingsDialog::storedValues() const
{
    return parseSettingValues(
        m_surroundings.store.find(RecordKind::settings, m_origin.deviceId).value_or("{}"));
}

// Takes over the reference. Values of the response replace those of the same name.
void SettingsDialog::takeResponse(const sdk::ISettingsResponse* response, DialogAnswer* answer)
{
    const sdk::Ptr<const sdk::ISettingsResponse> owner(response);
    if (!owner)
        return;
    for (const auto& [name, value] : takeMap(owner->values()))
        answer->values[name] = value;
    answer->errors = takeMap(owner->errors());
    for (const auto& [name, text] : answer->errors)
        m_surroundings.console.line("Setting " + name + ": " + text);
    answer->model = takeText(owner->model());
    if (!answer->model.empty())
        showModel(answer->model);
}

void SettingsDialog::showModel(const std::string& model)
{
    if (model == m_lastModel)
        return;
    m_lastModel = model;
    const JsonDocument document = parseJson(model);
    visitItems(
        yyjson_doc_get_root(document.get()),
        [this](yyjson_val* item)
        {
            m_namesShown.insert(stringMember(item, "name"));
            return true;
        });
    m_surroundings.sink.writeDocument("settingsModel", &m_origin, model);
    if (!m_surroundings.showBanners)
        return;
    std::vector<std::string> lines = describeModel(model);
    if (lines == m_lastLines)
        return;
    m_lastLines = std::move(lines);
    std::string text = "dialog of camera " + std::to_string(m_origin.camera) + ":";
    for (const std::string& line : m_lastLines)
        text += "\n    " + line;
    m_surroundings.console.line(text);
}

DialogAnswer SettingsDialog::send(const SettingValues& values)
{
    DialogAnswer answer{values, {}, {}, {}, {}, {}};
    if (!m_agent)
        return fail(std::move(answer), "setSettings", nullptr);
    m_surroundings.store.put(RecordKind::settings, m_origin.deviceId, toJson(values));
    const auto map = sdk::makePtr<sdk::StringMap>(values);
    const auto result = m_agent->setSettings(map.get());
    if (!result.isOk())
        return fail(std::move(answer), "setSettings", result.errorMessage);
    takeResponse(result.value, &answer);
    if (answer.values != values)
        m_surroundings.store.put(RecordKind::settings, m_origin.deviceId, toJson(answer.values));
    return answer;
}

// Takes over the reference to the message; null: the camera is gone.
DialogAnswer SettingsDialog::fail(
    DialogAnswer answer, const std::string& what, const sdk::IString* message) const
{
    answer.failure = message ? takeText(message) : "The camera is gone.";
    m_surroundings.console.line(what + " failed: " + answer.failure);
    return answer;
}

std::vector<std::string> describeModel(std::string_view model)
{
    const JsonDocument document = parseJson(model);
    std::vector<std::string> lines;
    visitItems(
        yyjson_doc_get_root(document.get()),
        [&](yyjson_val* item)
        {
            if (yyjson_is_false(yyjson_obj_get(item, "visible")))
                return false;
            const std::string type = stringMember(item, "type");
            if (type == "Banner")
                lines.push_back(
                    onOneLine(stringMember(item, "icon") + ": " + stringMember(item, "text")));
            else if (type == "Button")
                lines.push_back("button " + stringMember(item, "name"));
            return true;
        });
    return lines;
}

} // namespace tavo::devkit
