#pragma once

#include <span>

namespace tavo::vms_server_plugins::analytics::orlix
{

// The keeper's executable file, embedded by the build.
extern const std::span<const unsigned char> kKeeperImage;

} // namespace tavo::vms_server_plugins::analytics::orlix
