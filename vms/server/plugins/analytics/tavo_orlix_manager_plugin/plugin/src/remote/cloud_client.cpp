#include "remote/cloud_client.h"

#include <chrono>
#include <optional>

#include "base/ini.h"
#include "base/plugin_version.h"
#include "remote/answer_body.h"
#include "remote/certificates.h"
#include "remote/cloud_answers.h"
#include "remote/stoppable_client.h"
#include "remote/text_helpers.h"
#include "utils/log.h"
#include "utils/log_rarely.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using network::http::HttpClient;

constexpr int kStatusOk = 200;

void setUp(HttpClient& client, const UtilityProviderPtr& provider)
{
    trustConfiguredAuthorities(client);
    client.setAllTimeouts(std::chrono::seconds(ini().HTTPRequestTimeout));
    client.addAdditionalHeader("User-Agent", std::string("ORLIX-Plugin/") + kPluginVersion);
    client.addAdditionalHeader("Authorization", cloudAuthToken(provider));
}

// Whether a request ended well; logs how it did not.
bool succeeded(
    HttpClient& client, bool requestDone, const std::string& endpoint, const std::string& failure)
{
    const network::http::Response* const response = client.response();
    if (!response)
    {
        log_warning(endpoint, "Couldn't get a response from endpoint: %s\n", endpoint.c_str());
        log_warning(endpoint, "The connection failed: %s\n", client.failure().c_str());
        return false;
    }
    const network::http::StatusLine& status = response->statusLine;
    if (requestDone && status.statusCode == kStatusOk)
        return true;

    std::string text = failure + endpoint + " Code: " + std::to_string(status.statusCode) +
        " Line: " + status.toString();
    text += " Body: " + fetchBodyExcerpt(client);
    log_warning(text, "%s", text.c_str()); // without a line end, as operators know it
    return false;
}

std::string resetRequestBody(
    const UtilityProviderPtr& provider, const std::vector<std::string>& deviceIds)
{
    auto [document, root] = newJsonObject();
    if (const std::optional<std::string> id = cloudSystemId(provider))
        yyjson_mut_obj_add_strncpy(document.get(), root, "SystemId", id->data(), id->size());
    if (const char* const id = provider->serverId())
        yyjson_mut_obj_add_strcpy(document.get(), root, "ServerId", id);
    yyjson_mut_val* const devices = yyjson_mut_obj_add_arr(document.get(), root, "Devices");
    for (const std::string& id : deviceIds)
        yyjson_mut_arr_add_strncpy(document.get(), devices, id.data(), id.size());
    return jsonToText(std::move(document));
}

} // namespace

void checkCloudConnection(
    std::atomic<int>& cloudConnectionState, const UtilityProviderPtr& provider)
{
    int neverChecked = kCloudNeverChecked;
    cloudConnectionState.compare_exchange_strong(neverChecked, kCloudBeingChecked);
    if (!provider)
    {
        log_warning("", "Warning! Utility provider is null, cannot check cloud connection.\n");
        return;
    }
    const char* const token = provider->cloudAuthToken();
    if (!token)
        log_warning("", "Warning! Cloud token is NULL. This could indicate an incompatible VMS.\n");
    if (token && *token)
    {
        log_debug("Got cloud token.\n");
        cloudConnectionState = kCloudConnected;
    }
    else
    {
        log_rarely("", "Couldn't get cloud token. Assuming not connected to cloud.\n");
        cloudConnectionState = kCloudNotConnected;
    }
}

std::vector<PipelineOption> getAvailablePipelines(
    const UtilityProviderPtr& provider, const std::string& deviceId)
{
    if (!provider)
        return {};
    StoppableClient client(network::ssl::kDefaultCertificateCheck, provider.stop);
    setUp(client, provider);
    const std::string endpoint = std::string(ini().CloudAPI) + "/system/" +
        cloudSystemId(provider).value_or("") + "/device/" + deviceId + "/available-pipelines";

    const bool done = client.doGet(endpoint);
    if (!succeeded(client, done, endpoint, "Failed to fetch pipelines! Endpoint:"))
        return {};
    const std::optional<std::string> body = fetchBody(client);
    if (!body)
    {
        log_info("Failed to fetch available pipelines! Body can not be read.\n");
        return {};
    }
    std::vector<PipelineOption> options = pipelineOptions(*body);
    for (const PipelineOption& option : options)
    {
        log_info(
            "Patch pipelines %s:\n%s\n", oneLine(option.name).c_str(),
            std::string(excerptOf(option.patch)).c_str());
    }
    return options;
}

void resetDevices(const UtilityProviderPtr& provider, const std::vector<std::string>& deviceIds)
{
    if (!provider)
        return;
    const std::string body = resetRequestBody(provider, deviceIds);
    StoppableClient client(network::ssl::kDefaultCertificateCheck, provider.stop);
    setUp(client, provider);
    log_info(
        "Resetting configuration of %zu devices. String: %s\n", deviceIds.size(), body.c_str());
    const std::string endpoint = std::string(ini().CloudAPI) + "/reset/";

    const bool done = client.doPost(endpoint, "application/json", body);
    if (!succeeded(client, done, endpoint, "Failed to configure devices! Endpoint:"))
        return;
    const std::optional<std::string> answer = fetchBody(client);
    if (!answer)
        return;
    for (const DevicePatch& device : devicePatches(*answer))
    {
        log_debug(
            "Patching parameters to device: %s : %s\n", device.id.c_str(),
            std::string(excerptOf(device.patch)).c_str());
        patchDevice(provider, device.patch, device.id);
    }
}

} // namespace tavo::vms_server_plugins::analytics::orlix
