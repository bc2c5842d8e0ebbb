#pragma once

#include <string>
#include <string_view>
#include <vector>

// What the host's lists of records say, taken out of their JSON texts. A text that is not such a
// list gives an empty one; elements of the wrong type are left out. No state; nothing throws.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Ids of the activated devices that have models or pipelines.
[[nodiscard]] std::vector<std::string> devicesWithConfiguration(std::string_view devices);

// Ids of the activated devices that lack models or pipelines.
[[nodiscard]] std::vector<std::string> devicesWithoutConfiguration(std::string_view devices);

// Ids of the users of type "cloud".
[[nodiscard]] std::vector<std::string> cloudUserIds(std::string_view users);

} // namespace tavo::vms_server_plugins::analytics::orlix
