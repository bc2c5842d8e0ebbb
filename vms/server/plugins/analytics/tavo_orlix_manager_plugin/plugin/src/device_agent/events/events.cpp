#include "device_agent/events/events.h"

#include <array>
#include <charconv>

#include <tavo/sdk/analytics/helpers/event_metadata.h>
#include <tavo/sdk/ptr.h>

#include "device_agent/pipelines/node_text.h"
#include "device_agent/type_ids.h"
#include "inference/protocol.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

namespace key = protocol::key;

void addEvent(
    std::string typeId, std::string caption, std::string description,
    sdk::analytics::EventMetadataPacket& packet)
{
    auto event = sdk::makePtr<sdk::analytics::EventMetadata>();
    event->setTypeId(std::move(typeId));
    event->setCaption(std::move(caption));
    event->setDescription(std::move(description));
    event->setIsActive(true);
    packet.addItem(std::move(event));
}

} // namespace

void addFpsEvent(const ThroughputFigures& figures, sdk::analytics::EventMetadataPacket& packet)
{
    addEvent(kFpsEventType, "Performance", fpsDescription(figures), packet);
}

std::string fpsDescription(const ThroughputFigures& figures)
{
    // What a text stream of the classic locale writes at a precision of 2, without its cost.
    std::array<char, 32> digits;
    char* const end = std::to_chars(
                          digits.data(), digits.data() + digits.size(), figures.fps,
                          std::chars_format::general, 2)
                          .ptr;

    std::string text = "\nThroughput: ";
    text.append(digits.data(), end);
    text += " FPS\n";
    if (figures.latencyUs != 0)
        text += "Latency: " + std::to_string(figures.latencyUs / 1000) + " ms";
    return text;
}

void addCountedEvent(
    const NamedCounts& counts, CountHistory& history, sdk::analytics::EventMetadataPacket& packet)
{
    std::string description = "\n";
    for (const auto& [name, count] : counts)
    {
        const std::string key(name);
        description += key + ": " + std::to_string(history.add(key, count)) + '\n';
    }
    addEvent(kCountedEventType, "Objects counted", std::move(description), packet);
}

NamedCounts readCounts(mpack_node_t counts)
{
    NamedCounts result;
    const std::size_t size = mpack_node_map_count(counts);
    result.reserve(size);
    for (std::size_t i = 0; i < size; ++i)
    {
        const std::string_view name = readName(mpack_node_map_key_at(counts, i));
        const std::uint64_t count = mpack_node_u64(mpack_node_map_value_at(counts, i));
        if (mpack_node_error(counts) != mpack_ok)
            break;
        result.emplace_back(name, count);
    }
    return result;
}

void addCategoryEvent(std::string_view label, sdk::analytics::EventMetadataPacket& packet)
{
    addEvent(kCategoryEventType, "Category detected", "\n" + std::string(label) + "\n", packet);
}

std::string_view readBestLabel(mpack_node_t scores)
{
    std::string_view bestLabel;
    float bestScore = 0;
    const std::size_t size = mpack_node_map_count(scores);
    for (std::size_t i = 0; i < size; ++i)
    {
        const std::string_view label = readName(mpack_node_map_key_at(scores, i));
        const float score = mpack_node_float(mpack_node_map_value_at(scores, i));
        if (score > bestScore)
        {
            bestLabel = label;
            bestScore = score;
        }
    }
    return bestLabel;
}

void addCustomEvents(mpack_node_t eventsNode, sdk::analytics::EventMetadataPacket& packet)
{
    const std::size_t size = mpack_node_array_length(eventsNode);
    for (std::size_t i = 0; i < size; ++i)
    {
        const mpack_node_t event = mpack_node_array_at(eventsNode, i);
        const mpack_node_t id = mpack_node_map_cstr_optional(event, key::kEventId);
        const mpack_node_t caption = mpack_node_map_cstr_optional(event, key::kEventCaption);
        const mpack_node_t description =
            mpack_node_map_cstr_optional(event, key::kEventDescription);
        if (mpack_node_is_missing(id) || mpack_node_is_missing(caption) ||
            mpack_node_is_missing(description))
        {
            log_warning("", "Error! Event has missing information.\n");
            continue;
        }
        const std::string_view idText = readName(id);
        const std::string_view captionText = readText(caption);
        const std::string_view descriptionText = readText(description);
        if (mpack_node_error(event) != mpack_ok)
            return;
        addEvent(
            std::string(idText), std::string(captionText), std::string(descriptionText), packet);
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
