#include "remote/host_rest_client.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>

#include <tavo/sdk/helpers/to_string.h>

#include "remote/orlix_completion_handler.h"
#include "remote/record_lists.h"
#include "remote/response_text.h"
#include "remote/text_helpers.h"
#include "utils/log.h"
#include "utils/log_rarely.h"
#include "utils/mutex.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

constexpr char kDevicesPath[] = "/rest/v4/devices";
constexpr char kUsersPath[] = "/rest/v4/users";
constexpr char kThisServerPath[] = "/rest/v4/servers/this";
constexpr char kJsonMimeType[] = "application/json";

// One request to the host at a time; held while waiting for the answer. A mutex that is not waited
// for once `stop` is requested.
class RestMutex
{
public:
    // False, and it is not held, if that came first or both came at once.
    [[nodiscard]] bool lock(const std::stop_token& stop)
    {
        lock_order::taking(LockLevel::request);
        std::unique_lock lock(m_mutex);
        if (m_freed.wait(lock, stop, [this] { return !m_isHeld; }) && !stop.stop_requested())
            return m_isHeld = true;
        lock_order::released(LockLevel::request);
        return false;
    }

    void unlock()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isHeld = false;
        }
        m_freed.notify_one();
        lock_order::released(LockLevel::request);
    }

private:
    std::mutex m_mutex;
    std::condition_variable_any m_freed;
    bool m_isHeld = false;
};
RestMutex restMutex;

// Handlers of requests that ended without an answer; under restMutex. A host may answer yet,
// through a pointer without a reference, so they live on; so many that only an answer long overdue
// meets none. Never destroyed, since the host may outlast the statics of this library.
constexpr std::size_t kMaxUnanswered = 1024;
std::deque<sdk::Ptr<ORLIXCompletionHandler>>& unanswered()
{
    static auto& handlers = *new std::deque<sdk::Ptr<ORLIXCompletionHandler>>();
    return handlers;
}

void keepUnanswered(sdk::Ptr<ORLIXCompletionHandler> handler)
{
    auto& handlers = unanswered();
    std::erase_if(handlers, [](const auto& kept) { return kept->executed(); });
    if (handlers.size() >= kMaxUnanswered)
        handlers.pop_front();
    handlers.push_back(std::move(handler));
}

// What a finished request comes to; the empty text after a failure, which is logged.
std::string responseText(const ORLIXCompletionHandler::Response& response)
{
    const sdk::Ptr<const sdk::IString> message(response.errorMessage);
    const sdk::Ptr<const sdk::IString> value(response.value);
    if (!response.isOk())
    {
        const std::string text =
            message ? textOrEmpty(message->str()) : sdk::toString(response.errorCode);
        log_warning(text, "Http request failed: %s\n", text.c_str());
        return {};
    }
    return value ? textOrEmpty(value->str()) : "Error: Result has no value.";
}

// Sends the request and waits for its end, however long it takes the host, or for the stop. To be
// called under restMutex.
std::string sendAndWait(
    const std::string& path, const std::string& method, const std::string& mimeType,
    const std::string& body, const UtilityProviderPtr& provider)
{
    auto handler = sdk::makePtr<ORLIXCompletionHandler>();
    std::future<ORLIXCompletionHandler::Response> response = handler->response();
    std::string failure = "unknown error";
    try
    {
        provider->sendHttpRequest(
            sdk::IUtilityProvider4::HttpRequestKind::restApi, path.c_str(), method.c_str(),
            mimeType.c_str(), body.c_str(), handler.get());
        handler->awaitHost();
        const std::stop_callback abandonAtStop(
            provider.stop, [&handler] { handler->abandon("The plugin is shutting down."); });
        return responseText(response.get());
    }
    catch (const std::exception& e)
    {
        failure = e.what();
    }
    catch (...)
    {}
    handler->abandon(failure.c_str());
    log_warning(failure, "Http request failed: %s\n", failure.c_str());
    if (!handler->executed())
        keepUnanswered(std::move(handler));
    return {};
}

std::string get(const std::string& path, const UtilityProviderPtr& provider)
{
    return doRequest(path, "GET", "", "", provider);
}

std::string patch(
    const std::string& path, const std::string& body, const UtilityProviderPtr& provider)
{
    return doRequest(path, "PATCH", kJsonMimeType, body, provider);
}

// The host's list; empty, with a line in the log, when there is none.
std::string devicesToChange(const UtilityProviderPtr& provider)
{
    std::string devices = getDevicesParameters(provider);
    if (devices.empty())
        log_info("Warning! Could not patch default device parameters.\n");
    return devices;
}

// Makes {"parameters":{"tavoAI":content}} the whole document.
void wrapAsParameters(yyjson_mut_doc* document, yyjson_mut_val* content)
{
    yyjson_mut_val* const root = yyjson_mut_obj(document);
    yyjson_mut_doc_set_root(document, root);
    yyjson_mut_val* const parameters = yyjson_mut_obj_add_obj(document, root, "parameters");
    yyjson_mut_obj_add_val(document, parameters, "tavoAI", content);
}

} // namespace

std::string doRequest(
    const std::string& path, const std::string& method, const std::string& mimeType,
    const std::string& body, const UtilityProviderPtr& provider)
{
    if (!provider)
    {
        log_warning("", "Warning! doRequest called with invalid utility provider.\n");
        return {};
    }
    if (!restMutex.lock(provider.stop))
        return {};
    const std::lock_guard held(restMutex, std::adopt_lock);
    const std::string response = sendAndWait(path, method, mimeType, body, provider);
    if (response.empty())
    {
        log_warning("", "Warning! Could not get response from API.\n");
        return {};
    }
    return std::string(firstBodyLine(response));
}

std::string getDevice(const UtilityProviderPtr& provider, const std::string& deviceId)
{
    return get(kDevicesPath + ("/" + deviceId), provider);
}

std::string getDevicesParameters(const UtilityProviderPtr& provider)
{
    const std::string serverId = provider ? textOrEmpty(provider->serverId()) : "";
    return get(kDevicesPath + ("?serverId=" + serverId), provider);
}

JsonDocument getServerParameters(const UtilityProviderPtr& provider)
{
    return parseJson(get(kThisServerPath, provider));
}

std::string patchDevice(
    const UtilityProviderPtr& provider, const std::string& body, const std::string& deviceId)
{
    return patch(kDevicesPath + ("/" + deviceId), body, provider);
}

std::string patchServer(const UtilityProviderPtr& provider, const std::string& body)
{
    return patch(kThisServerPath, body, provider);
}

std::vector<std::string> getCloudUserIds(const UtilityProviderPtr& provider)
{
    const std::string users = get(kUsersPath, provider);
    if (users.empty())
    {
        log_info("Warning! Could not get cloud users!\n");
        return {};
    }
    return cloudUserIds(users);
}

std::vector<std::string> getDevicesWithConfiguration(const UtilityProviderPtr& provider)
{
    return activatedDevices(devicesToChange(provider), /*withConfiguration*/ true);
}

std::vector<std::string> getDevicesWithoutConfiguration(const UtilityProviderPtr& provider)
{
    return activatedDevices(devicesToChange(provider), /*withConfiguration*/ false);
}

void patchRuntimeInformation(
    const UtilityProviderPtr& provider, const std::string& name, const std::string& mimeType)
{
    auto [document, parameters] = makeParametersDocument();
    addRuntimeInformation(document.get(), parameters, name, mimeType);
    patchServer(provider, jsonToText(std::move(document)));
}

void patchRuntimeActive(const UtilityProviderPtr& provider, bool active)
{
    auto [document, parameters] = makeParametersDocument();
    yyjson_mut_obj_add_bool(document.get(), parameters, "runtimeActive", active);
    patchServer(provider, jsonToText(std::move(document)));
}

yyjson_val* pluginParameters(yyjson_val* record)
{
    return jsonMember(jsonMember(record, "parameters"), "tavoAI");
}

std::pair<MutableJsonDocument, yyjson_mut_val*> makeParametersDocument()
{
    MutableJsonDocument document = newJsonDocument();
    yyjson_mut_val* const content = yyjson_mut_obj(document.get());
    wrapAsParameters(document.get(), content);
    return {std::move(document), content};
}

std::pair<MutableJsonDocument, yyjson_mut_val*> makeParametersDocument(yyjson_val* content)
{
    MutableJsonDocument document = newJsonDocument();
    yyjson_mut_val* const copy = yyjson_val_mut_copy(document.get(), content);
    wrapAsParameters(document.get(), copy);
    return {std::move(document), copy};
}

void addRuntimeInformation(
    yyjson_mut_doc* document, yyjson_mut_val* object, const std::string& name,
    const std::string& mimeType)
{
    yyjson_mut_val* const list = yyjson_mut_obj_add_arr(document, object, "runtimeInformation");
    yyjson_mut_val* const runtime = yyjson_mut_arr_add_obj(document, list);
    yyjson_mut_val* const mimeTypes = yyjson_mut_obj_add_arr(document, runtime, "mimetypes");
    yyjson_mut_arr_add_strncpy(document, mimeTypes, mimeType.data(), mimeType.size());
    yyjson_mut_obj_add_strncpy(document, runtime, "name", name.data(), name.size());
}

std::optional<std::string> cloudSystemId(const UtilityProviderPtr& provider)
{
    if (!provider)
        return std::nullopt;
    const sdk::Ptr<const sdk::IString> id(provider->cloudSystemId());
    if (!id || !id->str())
        return std::nullopt;
    return id->str();
}

std::string cloudAuthToken(const UtilityProviderPtr& provider)
{
    return provider ? textOrEmpty(provider->cloudAuthToken()) : "";
}

} // namespace tavo::vms_server_plugins::analytics::orlix
