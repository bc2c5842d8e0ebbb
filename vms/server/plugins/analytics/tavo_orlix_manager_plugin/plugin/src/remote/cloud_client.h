#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "base/pipeline_option.h"
#include "remote/host_rest_client.h"

// The cloud API, over HTTPS with the server's certificate verified, authorized by the host's cloud
// token. Each request has its own client; any thread may call, and is held for the ini file's
// HTTPRequestTimeout per step of a request at most, and no longer than the provider's stop lets it.
// Failures are logged and end as an empty result.

namespace tavo::vms_server_plugins::analytics::orlix
{

// Values of cloudConnectionState.
inline constexpr int kCloudNeverChecked = 0;
inline constexpr int kCloudBeingChecked = 1;
inline constexpr int kCloudNotConnected = 2;
inline constexpr int kCloudConnected = 5;

// Connected means that the host has a cloud token; no request is made.
void checkCloudConnection(
    std::atomic<int>& cloudConnectionState, const UtilityProviderPtr& provider);

[[nodiscard]] std::vector<PipelineOption> getAvailablePipelines(
    const UtilityProviderPtr& provider, const std::string& deviceId);

// Asks the cloud for new configurations of these devices and patches to the host what it answers,
// for whichever devices it answers.
void resetDevices(const UtilityProviderPtr& provider, const std::vector<std::string>& deviceIds);

} // namespace tavo::vms_server_plugins::analytics::orlix
