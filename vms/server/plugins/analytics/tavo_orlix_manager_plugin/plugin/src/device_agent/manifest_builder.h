#pragma once

#include <string>

#include <yyjson.h>

#include "device_agent/settings/device_settings.h"
#include "inference/orlix_manager_interface.h"

// The manifests, JSON texts by which the host learns what it may expect. No state; each text is
// logged. A text that cannot be told becomes "{}".

namespace tavo::vms_server_plugins::analytics::orlix
{

// What the integration needs from every camera.
[[nodiscard]] std::string engineManifestBuilder();

// The event and object types of one camera. `settings` is the caller's own copy: the application's
// file of external postprocessors is read, so no lock is held.
[[nodiscard]] std::string deviceManifestBuilder(
    const DeviceSettings& settings, const OrlixManagerInterface& managerInterface);

// The same with that file's content, which may be null.
[[nodiscard]] std::string makeDeviceManifest(
    const DeviceSettings& settings, yyjson_val* externalPostprocessors);

} // namespace tavo::vms_server_plugins::analytics::orlix
