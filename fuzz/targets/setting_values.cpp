#include <stdexcept>
#include <vector>

#include "device_agent/pipelines/processors.h"
#include "device_agent/settings/setting_values.h"
#include "fuzz_target.h"
#include "inference/input_message.h"
#include "inference/protocol.h"
#include "utils/mpack_tree.h"

using namespace tavo::vms_server_plugins::analytics::orlix;

namespace
{

// "name=value" after "name=value", a NUL between them.
SettingValues valuesIn(std::string_view text)
{
    SettingValues values;
    while (!text.empty())
    {
        const std::string_view entry = text.substr(0, text.find('\0'));
        text.remove_prefix(std::min(entry.size() + 1, text.size()));
        const std::size_t separator = std::min(entry.find('='), entry.size());
        values[std::string(entry.substr(0, separator))] =
            entry.substr(std::min(separator + 1, entry.size()));
    }
    return values;
}

void checkSettings(const DeviceSettings& settings)
{
    FUZZ_CHECK(settings.line.empty() || settings.line.size() == 4);
    FUZZ_CHECK(settings.cropBox.empty() || settings.cropBox.size() == 4);
    for (const float coordinate : settings.cropBox)
        FUZZ_CHECK(coordinate >= 0 && coordinate <= 1);
    for (const auto& mask : settings.masks)
        FUZZ_CHECK(mask.size() % 2 == 0);
}

// They ride on each frame: the application must be able to read it.
void checkMessage(const DeviceSettings& settings)
{
    static const std::vector<std::uint8_t> pixels(3 * 4 * 2);
    static const std::string id = "id";
    MessageBuffer buffer;
    FUZZ_CHECK(
        createInputMessage({pixels.data(), 3 * 4, 4, 2}, {1, 0, id, id}, settings, {}, buffer));
    std::vector<char> message(buffer.size());
    buffer.copyTo(message.data(), CopyWay::plain);

    MessageTree tree;
    FUZZ_CHECK(tree.parse(message) == mpack_ok);
    const mpack_node_t masks = mpack_node_map_cstr_optional(tree.root(), protocol::key::kMasks);
    FUZZ_CHECK(mpack_node_is_missing(masks) == settings.masks.empty());
    if (!settings.masks.empty())
        FUZZ_CHECK(mpack_node_array_length(masks) == settings.masks.size());
    const mpack_node_t external =
        mpack_node_map_cstr_optional(tree.root(), protocol::key::kExternalProcessorSettings);
    if (!settings.externalProcessorSettings.empty())
        FUZZ_CHECK(mpack_node_map_count(external) == settings.externalProcessorSettings.size());
    FUZZ_CHECK(tree.error() == mpack_ok);
}

} // namespace

// A device's settings as the host gives them, up to the message that carries them.
void tavo::fuzz::run(std::string_view text)
{
    const SettingValues values = valuesIn(text);
    bool isRefused = false;
    try
    {
        checkSettingValues(values);
    }
    catch (const std::logic_error&)
    {
        isRefused = true;
    }

    DeviceSettings settings;
    for (const std::string_view name :
         {kIllegalDumpingProcessor, kLoiteringProcessor, kLineCrossingProcessor})
        settings.processors.emplace_back(name);
    try
    {
        applySettingValues(values, settings);
        FUZZ_CHECK(!isRefused);
    }
    catch (const std::logic_error&)
    {
        FUZZ_CHECK(isRefused);
        return;
    }
    checkSettings(settings);
    checkMessage(settings);
}
