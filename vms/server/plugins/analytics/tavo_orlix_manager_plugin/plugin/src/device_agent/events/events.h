#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <mpack.h>

#include <tavo/sdk/analytics/helpers/event_metadata_packet.h>

#include "device_agent/events/count_history.h"
#include "device_agent/events/throughput.h"

// The events of a result. What the application detects by itself (loitering, dumping, crossing of
// the line) comes through addCustomEvents; throughput and counts are worked out here.

namespace tavo::vms_server_plugins::analytics::orlix
{

using NamedCounts = std::vector<std::pair<std::string_view, std::uint64_t>>;

void addFpsEvent(const ThroughputFigures& figures, sdk::analytics::EventMetadataPacket& packet);

// Each name with the most frequent of its last counts, in the order of `counts`.
void addCountedEvent(
    const NamedCounts& counts, CountHistory& history, sdk::analytics::EventMetadataPacket& packet);

void addCategoryEvent(std::string_view label, sdk::analytics::EventMetadataPacket& packet);

// One event for each element that has all its texts; their ids go to the host as they stand.
void addCustomEvents(mpack_node_t eventsNode, sdk::analytics::EventMetadataPacket& packet);

// The entries of a map of counts, up to the first that cannot be read. The names live as long as
// the message.
[[nodiscard]] NamedCounts readCounts(mpack_node_t counts);

// The label with the best of the scores above 0, the first of equals; empty if there is none.
[[nodiscard]] std::string_view readBestLabel(mpack_node_t scores);

// "\nThroughput: 12 FPS\nLatency: 34 ms": two significant digits, and no latency when it is 0.
[[nodiscard]] std::string fpsDescription(const ThroughputFigures& figures);

} // namespace tavo::vms_server_plugins::analytics::orlix
