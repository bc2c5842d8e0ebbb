#pragma once

#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tavo/sdk/i_utility_provider.h>
#include <tavo/sdk/ptr.h>

#include "utils/json.h"

// The host's REST interface. Every request runs inside the host, through its utility provider,
// with the host's rights. All that the plugin keeps on the host lies in the server's and in each
// device's "parameters", under "tavoAI".
//
// Any thread may call; requests run one at a time, each without a time-out but what its provider's
// stop ends. A request throws nothing but for want of memory: it fails with an empty text, list or
// document, logged unless the stop came in its wait for a turn, also for a null provider (the host
// is shutting down). The HTTP status is not looked at: expect a text that does not parse.

namespace tavo::vms_server_plugins::analytics::orlix
{

// The host, and what ends a wait for it, or for the cloud in its name.
struct UtilityProviderPtr : sdk::Ptr<sdk::IUtilityProvider>
{
    using Ptr::Ptr;
    UtilityProviderPtr(sdk::Ptr<sdk::IUtilityProvider> host, std::stop_token stopToken = {}) :
        Ptr(std::move(host)),
        stop(std::move(stopToken))
    {}

    std::stop_token stop;
};

// Gives the first line of the response's body, which is the whole of the host's one-line JSON.
std::string doRequest(
    const std::string& path, const std::string& method, const std::string& mimeType,
    const std::string& body, const UtilityProviderPtr& provider);

[[nodiscard]] std::string getDevice(
    const UtilityProviderPtr& provider, const std::string& deviceId);

// A JSON array of the records of this server's devices.
[[nodiscard]] std::string getDevicesParameters(const UtilityProviderPtr& provider);

[[nodiscard]] JsonDocument getServerParameters(const UtilityProviderPtr& provider);

// The host merges `body`, a JSON document, into the record that it holds.
std::string patchDevice(
    const UtilityProviderPtr& provider, const std::string& body, const std::string& deviceId);
std::string patchServer(const UtilityProviderPtr& provider, const std::string& body);

// Ids of the host's users of type "cloud".
[[nodiscard]] std::vector<std::string> getCloudUserIds(const UtilityProviderPtr& provider);

// Ids of activated devices that have models or pipelines; and of those that lack one of the two.
// A device with only one of them is in both lists.
[[nodiscard]] std::vector<std::string> getDevicesWithConfiguration(
    const UtilityProviderPtr& provider);
[[nodiscard]] std::vector<std::string> getDevicesWithoutConfiguration(
    const UtilityProviderPtr& provider);

void patchRuntimeInformation(
    const UtilityProviderPtr& provider, const std::string& name, const std::string& mimeType);
void patchRuntimeActive(const UtilityProviderPtr& provider, bool active);

// What the plugin keeps on a server's or device's record, of any type; null if there is nothing.
[[nodiscard]] yyjson_val* pluginParameters(yyjson_val* record);

// A new document {"parameters":{"tavoAI":{}}} and its inner object, which lives as long as it.
[[nodiscard]] std::pair<MutableJsonDocument, yyjson_mut_val*> makeParametersDocument();

// The same around a deep copy of `content`, of any type, which is what is given.
[[nodiscard]] std::pair<MutableJsonDocument, yyjson_mut_val*> makeParametersDocument(
    yyjson_val* content);

// Adds "runtimeInformation" to the inner object. The texts are copied.
void addRuntimeInformation(
    yyjson_mut_doc* document, yyjson_mut_val* object, const std::string& name,
    const std::string& mimeType);

// What the host says of itself beside any request; what it throws comes through. Empty: none.
[[nodiscard]] std::optional<std::string> cloudSystemId(const UtilityProviderPtr& provider);
[[nodiscard]] std::string cloudAuthToken(const UtilityProviderPtr& provider);

} // namespace tavo::vms_server_plugins::analytics::orlix
