#include "device_agent/settings/setting_values.h"

#include <optional>
#include <stdexcept>
#include <utility>

#include "device_agent/pipelines/processors.h"
#include "device_agent/settings/figures.h"
#include "utils/log.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

const std::string* find(const SettingValues& values, const std::string& name)
{
    const auto entry = values.find(name);
    return entry == values.end() ? nullptr : &entry->second;
}

std::string textOr(const SettingValues& values, const char* name, const char* defaultText)
{
    const std::string* const value = find(values, name);
    return value ? *value : defaultText;
}

// In seconds; nothing where the setting is not there.
struct TimeSettings
{
    std::optional<std::int64_t> dumping;
    std::optional<std::int64_t> loitering;
};

TimeSettings readTimes(const SettingValues& values)
{
    const auto read = [&values](const char* name) -> std::optional<std::int64_t>
    {
        const std::string* const text = find(values, name);
        if (!text)
            return std::nullopt;
        try
        {
            return std::stoll(*text);
        }
        catch (const std::logic_error&)
        {
            throw std::invalid_argument(std::string(name) + " is no number of seconds: " + *text);
        }
    };
    return {read(setting::kDumpingTime), read(setting::kLoiterTime)};
}

bool isTrue(const std::string* value)
{
    return value && *value == "true";
}

// Without both of its settings dumping is off, while loitering has defaults: users never had to
// set anything for the latter.
void applyDumping(const SettingValues& values, const TimeSettings& times, DeviceSettings& settings)
{
    const std::string* const objectType = find(values, setting::kDumpingObjectType);
    settings.dumpingEnabled =
        hasProcessor(settings, kIllegalDumpingProcessor) && objectType && times.dumping;
    settings.dumpingObjectType = objectType ? *objectType : std::string();
    settings.dumpingTimeThreshold = times.dumping.value_or(0);
}

void applyLoitering(
    const SettingValues& values, const TimeSettings& times, DeviceSettings& settings)
{
    settings.loiteringEnabled = hasProcessor(settings, kLoiteringProcessor);
    static_assert(setting_default::kLoiterTime == 30, "the line below tells it");
    if (!times.loitering)
        log_info("No default for loiter detection time. Defaulting to 30\n");
    settings.loiterTimeThreshold = times.loitering.value_or(setting_default::kLoiterTime);
    settings.loiterObjectClass =
        textOr(values, setting::kLoiterObjectClass, setting_default::kLoiterObjectClass);
}

// Keys with a prefix stand together, since the map is sorted.
template <typename Use>
void forEachWithPrefix(const SettingValues& values, const std::string& prefix, Use use)
{
    for (auto i = values.lower_bound(prefix); i != values.end() && i->first.starts_with(prefix);
         ++i)
    {
        use(i->first, i->second);
    }
}

void applyExternalProcessors(const SettingValues& values, DeviceSettings& settings)
{
    settings.externalProcessorSettings.clear();
    forEachWithPrefix(
        values, setting::kExternalProcessorPrefix,
        [&](const std::string& key, const std::string& value)
        { settings.externalProcessorSettings[key] = value; });
}

// Masks are numbered from 1, and the first number that is not there ends them.
void applyMasks(const SettingValues& values, DeviceSettings& settings)
{
    settings.maskType = textOr(values, setting::kMaskType, setting_default::kMaskType);
    settings.masks.clear();
    for (std::size_t n = 1;; ++n)
    {
        const std::string* const text = find(values, "polygon" + std::to_string(n) + ".figure");
        if (!text)
            break;
        Figure polygon = parsePolygon(*text);
        if (polygon.outcome == FigureOutcome::parsed)
            settings.masks.push_back(std::move(polygon.coordinates));
        else if (polygon.outcome == FigureOutcome::notJson)
            log_info("Failed to parse polygon"); // without a line end, as operators know it
    }
}

void applyLine(const SettingValues& values, DeviceSettings& settings)
{
    settings.line.clear();
    const std::string* const text = find(values, setting::kLine);
    if (!text)
        return;
    Figure line = parseLine(*text);
    settings.line = std::move(line.coordinates);
    if (line.outcome == FigureOutcome::notJson)
        log_info("Failed to parse line settings"); // without a line end, as operators know it
    if (line.outcome != FigureOutcome::parsed)
        log_debug("No line crossing line specified.\n");
}

void applyCropBox(const SettingValues& values, DeviceSettings& settings)
{
    settings.cropBox.clear();
    const std::string* const text = find(values, setting::kCropBox);
    if (!text)
        return;
    Figure box = parseBox(*text);
    settings.cropBox = std::move(box.coordinates);
    if (box.outcome == FigureOutcome::notJson)
        log_info("Failed to parse ROI box!"); // without a line end, as operators know it
    else if (box.outcome != FigureOutcome::parsed)
        log_info("Warning! Invalid ROI box definition received! %s\n", text->c_str());
}

void applyVisualisation(const SettingValues& values, DeviceSettings& settings)
{
    settings.visualiseClasses.clear();
    const std::string prefix = setting::kVisualisePrefix;
    forEachWithPrefix(
        values, prefix,
        [&](const std::string& key, const std::string& value)
        { settings.visualiseClasses[key.substr(prefix.size())] = isTrue(&value); });
}

} // namespace

void checkSettingValues(const SettingValues& values)
{
    static_cast<void>(readTimes(values));
}

void applySettingValues(const SettingValues& values, DeviceSettings& settings)
{
    const TimeSettings times = readTimes(values);
    settings.deviceActive = isTrue(find(values, setting::kDeviceActive));
    applyDumping(values, times, settings);
    applyLoitering(values, times, settings);
    applyExternalProcessors(values, settings);
    applyMasks(values, settings);
    applyLine(values, settings);
    applyCropBox(values, settings);
    applyVisualisation(values, settings);
}

} // namespace tavo::vms_server_plugins::analytics::orlix
