#include "records/records.h"

#include <cctype>
#include <cstdio>
#include <stdexcept>

#include "common/json.h"
#include "common/shown_address.h"
#include "records/json_merge.h"

namespace tavo::devkit
{

namespace
{

constexpr char kDefaultServerId[] = "a4f7c1de-3b52-4c0e-9a67-2d8e51b0f3a1";
constexpr char kDefaultCloudSystemId[] = "0c6a9f52-77e4-4d1b-8b90-6e21d4c3a785";
constexpr char kDefaultCloudAuthToken[] = "stand-in-token";
constexpr char kDefaultModelId[] = "3d9be0f4-51c7-4a86-b2ef-90a4c7d6e812";

std::string withoutBraces(std::string_view id)
{
    if (id.size() >= 2 && id.front() == '{' && id.back() == '}')
        id = id.substr(1, id.size() - 2);
    std::string result(id);
    for (char& c : result)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

// Holds the site's id, so that the plugin takes this server for one that it has configured before
// and asks no cloud for a first configuration.
std::string defaultServerRecord(const SystemIdentity& identity)
{
    JsonMaker json;
    json.add("id", identity.serverId).add("name", "Stand-in server");
    json.addObject("parameters").addObject("tavoAI").add("siteID", identity.cloudSystemId);
    return json.text();
}

std::string identityRecord(const SystemIdentity& identity)
{
    JsonMaker json;
    json.add("serverId", identity.serverId)
        .add("cloudSystemId", identity.cloudSystemId)
        .add("cloudAuthToken", identity.cloudAuthToken);
    return json.text();
}

SystemIdentity parseIdentity(yyjson_val* object, const SystemIdentity& fallback)
{
    SystemIdentity identity;
    identity.serverId = stringMember(object, "serverId", fallback.serverId);
    identity.cloudSystemId = stringMember(object, "cloudSystemId", fallback.cloudSystemId);
    identity.cloudAuthToken = stringMember(object, "cloudAuthToken", fallback.cloudAuthToken);
    return identity;
}

void putIfNew(RecordStore& store, RecordKind kind, const std::string& id, const std::string& text)
{
    if (findId(store, kind, id).empty())
        store.put(kind, id, text);
}

void seedArray(RecordStore& store, RecordKind kind, yyjson_val* records)
{
    for (yyjson_val* const record : jsonElements(records))
    {
        const std::string id = stringMember(record, "id");
        if (id.empty())
            throw std::runtime_error("records: a device or user has no \"id\"");
        putIfNew(store, kind, id, toText(record));
    }
}

std::string urlOf(const RecordStore& store, RecordKind kind, const std::string& id)
{
    const JsonDocument record = parseJson(store.find(kind, id).value_or("{}"));
    return stringMember(yyjson_doc_get_root(record.get()), "url");
}

} // namespace

std::string defaultDeviceId(int index)
{
    char id[40];
    std::snprintf(id, sizeof(id), "5f0e6b1c-8d24-4e73-9c11-%012x", unsigned(index) + 1);
    return id;
}

std::string defaultDeviceRecord(int index, const std::string& serverId)
{
    JsonMaker json;
    json.add("id", defaultDeviceId(index))
        .add("name", "Camera " + std::to_string(index + 1))
        .add("serverId", serverId)
        .add("vendor", "Tavo")
        .add("model", "File camera");
    JsonNode ours = json.addObject("parameters").addObject("tavoAI");
    JsonNode model = ours.addList("models").pushObject();
    model.add("UUID", kDefaultModelId)
        .add("Name", "Person detector")
        .add("UpdatedAt", "2024-05-01T12:00:00");
    model.addList("NamedOutput").pushObject().add("Name", "bboxes-format:xyxy;0:person");
    model.addList("Downloads"); // no file to fetch: the application has its own detector
    ours.addList("pipelines")
        .pushObject()
        .add("modelUUID", kDefaultModelId)
        .add("modelNMS", 0.5)
        .add("Postprocessor", "LineCrossing");
    ours.add("deviceAdmin", "https://admin.tavo.example/device/" + defaultDeviceId(index));
    return json.text();
}

std::string newDeviceRecord(
    const std::string& id, const std::string& name, const std::string& source,
    const std::string& serverId)
{
    JsonMaker json;
    json.add("id", id).add("name", name).add("serverId", serverId);
    if (!source.empty())
        json.add("url", source);
    json.addObject("parameters");
    return json.text();
}

void seedRecords(RecordStore& store, std::string_view recordsText, int cameraCount)
{
    const JsonDocument document =
        parseJsonOrThrow(recordsText.empty() ? std::string_view("{}") : recordsText, "records");
    yyjson_val* const root = yyjson_doc_get_root(document.get());
    if (!yyjson_is_obj(root))
        throw std::runtime_error("records: the root is no object");

    const SystemIdentity identity = parseIdentity(root, readIdentity(store));
    store.put(RecordKind::system, kSystemRecordId, identityRecord(identity));

    yyjson_val* const server = yyjson_obj_get(root, "server");
    putIfNew(
        store, RecordKind::server, kServerRecordId,
        server ? toText(server) : defaultServerRecord(identity));
    seedArray(store, RecordKind::device, yyjson_obj_get(root, "devices"));
    seedArray(store, RecordKind::user, yyjson_obj_get(root, "users"));

    for (int index = 0; int(store.ids(RecordKind::device).size()) < cameraCount; ++index)
    {
        putIfNew(
            store, RecordKind::device, defaultDeviceId(index),
            defaultDeviceRecord(index, identity.serverId));
    }
    for (const std::string& id : store.ids(RecordKind::device))
        hidePassword(store, id);
}

void hidePassword(RecordStore& store, const std::string& deviceId)
{
    const std::string whole = urlOf(store, RecordKind::device, deviceId);
    const std::string shown = shownAddress(whole);
    if (shown == whole)
        return;
    const auto record = [](const std::string& url)
    {
        JsonMaker json;
        json.add("url", url);
        return json.text();
    };
    const std::string device = store.find(RecordKind::device, deviceId).value_or("{}");
    store.put(RecordKind::address, deviceId, record(whole));
    store.put(RecordKind::device, deviceId, mergePatch(device, record(shown)).value_or("{}"));
}

std::string addressOf(const RecordStore& store, const std::string& deviceId)
{
    const std::string shown = urlOf(store, RecordKind::device, deviceId);
    const std::string whole = urlOf(store, RecordKind::address, deviceId);
    return shownAddress(whole) == shown ? whole : shown; // the device's may have changed
}

SystemIdentity readIdentity(const RecordStore& store)
{
    const std::string text =
        store.find(RecordKind::system, kSystemRecordId).value_or(std::string("{}"));
    const JsonDocument document = parseJson(text);
    return parseIdentity(
        yyjson_doc_get_root(document.get()),
        {kDefaultServerId, kDefaultCloudSystemId, kDefaultCloudAuthToken});
}

bool isSameId(std::string_view left, std::string_view right)
{
    return withoutBraces(left) == withoutBraces(right);
}

std::string findId(const RecordStore& store, RecordKind kind, std::string_view id)
{
    for (const std::string& candidate : store.ids(kind))
    {
        if (isSameId(candidate, id))
            return candidate;
    }
    return {};
}

} // namespace tavo::devkit
