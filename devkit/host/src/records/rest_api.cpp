#include "records/rest_api.h"

#include <stdexcept>

#include "common/json.h"
#include "records/json_merge.h"
#include "records/records.h"

namespace tavo::devkit
{

namespace
{

constexpr std::string_view kDevicesPath = "/rest/v4/devices";
constexpr std::string_view kServerPath = "/rest/v4/servers/this";
constexpr std::string_view kUsersPath = "/rest/v4/users";

std::string response(std::string_view status, std::string_view type, std::string_view body)
{
    std::string text = "HTTP/1.1 ";
    text += status;
    text += "\r\nContent-Type: ";
    text += type;
    text += "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    text += body;
    return text;
}

std::string json(std::string_view body)
{
    return response("200 OK", "application/json", body);
}

std::string failure(std::string_view status, std::string_view text)
{
    return response(status, "text/plain", text);
}

// The value of `name` in the query of `path`; empty when it is not there.
std::string_view queryValue(std::string_view path, std::string_view name)
{
    size_t begin = path.find('?');
    while (begin != std::string_view::npos)
    {
        const std::string_view rest = path.substr(begin + 1);
        const std::string_view pair = rest.substr(0, rest.find('&'));
        if (pair.substr(0, pair.find('=')) == name && pair.size() > name.size())
            return pair.substr(name.size() + 1);
        begin = path.find('&', begin + 1);
    }
    return {};
}

bool belongsTo(const std::string& record, std::string_view serverId)
{
    if (serverId.empty())
        return true;
    const JsonDocument document = parseJson(record);
    const std::string owner = stringMember(yyjson_doc_get_root(document.get()), "serverId");
    return owner.empty() || isSameId(owner, serverId);
}

std::string listRecords(const RecordStore& store, RecordKind kind, std::string_view serverId)
{
    std::string body = "[";
    for (const std::string& id : store.ids(kind))
    {
        const std::string record = store.find(kind, id).value_or("null");
        if (!belongsTo(record, serverId))
            continue;
        if (body.size() > 1)
            body += ',';
        body += record;
    }
    return json(body + "]");
}

// The record as the patch leaves it. Its id is the host's and is not for a client to change.
std::string patched(const std::string& record, const std::string& patch)
{
    const JsonDocument original = parseJson(record);
    const std::string id = toText(yyjson_obj_get(yyjson_doc_get_root(original.get()), "id"));
    std::optional<std::string> result = mergePatch(record, patch);
    if (result && !id.empty())
    {
        JsonMaker json;
        json.addJson("id", id);
        result = mergePatch(*result, json.text());
    }
    return result.value_or(std::string());
}

std::string answerRecord(
    RecordStore& store, RecordKind kind, const std::string& id, const RestRequest& request)
{
    const std::optional<std::string> record = id.empty() ? std::nullopt : store.find(kind, id);
    if (!record)
        return failure("404 Not Found", "There is no such record.");
    if (request.method == "GET")
        return json(*record);
    if (request.method != "PATCH")
        return failure("405 Method Not Allowed", "Only GET and PATCH are served here.");
    const std::string result = patched(*record, request.body);
    if (result.empty())
        return failure("400 Bad Request", "The body is no JSON.");
    store.put(kind, id, result);
    return json(result);
}

} // namespace

std::string answerRequest(RecordStore& store, const RestRequest& request)
{
    const std::string_view path = std::string_view(request.path);
    const std::string_view place = path.substr(0, path.find('?'));
    try
    {
        if (place == kDevicesPath && request.method == "GET")
            return listRecords(store, RecordKind::device, queryValue(path, "serverId"));
        if (place == kUsersPath && request.method == "GET")
            return listRecords(store, RecordKind::user, {});
        if (place == kServerPath)
            return answerRecord(store, RecordKind::server, kServerRecordId, request);
        if (place.starts_with(kDevicesPath) && place.substr(kDevicesPath.size()).starts_with('/'))
        {
            const std::string id =
                findId(store, RecordKind::device, place.substr(kDevicesPath.size() + 1));
            return answerRecord(store, RecordKind::device, id, request);
        }
    }
    catch (const std::runtime_error& error)
    {
        return failure("500 Internal Server Error", error.what());
    }
    return failure("404 Not Found", "There is nothing at this path.");
}

} // namespace tavo::devkit
