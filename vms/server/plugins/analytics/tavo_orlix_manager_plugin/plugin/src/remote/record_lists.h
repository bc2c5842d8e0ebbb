#pragma once

#include <string>
#include <string_view>
#include <vector>

// What the host's lists of records say, taken out of their JSON texts. A text that is not such a
// list gives an empty one; elements of the wrong type are left out. No state; nothing throws.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Ids of the activated devices that have models or pipelines, or of those that lack one of the two.
// A record without an id cannot be asked for by it.
[[nodiscard]] std::vector<std::string> activatedDevices(
    std::string_view devices, bool withConfiguration);

// Ids of the users of type "cloud".
[[nodiscard]] std::vector<std::string> cloudUserIds(std::string_view users);

} // namespace tavo::vms_server_plugins::analytics::orlix
