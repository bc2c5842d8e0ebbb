#include "page/ladder.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>

#include "common/json.h"
#include "records/records.h"

namespace tavo::devkit
{

namespace
{

using State = Rung::State;

std::optional<std::string> readText(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::string text{std::istreambuf_iterator<char>(in), {}};
    text.erase(text.find_last_not_of(" \r\n") + 1);
    return text;
}

// What the library keeps for itself in a record; null when there is nothing.
yyjson_val* ownParameters(const JsonDocument& record)
{
    yyjson_val* const root = yyjson_doc_get_root(record.get());
    return yyjson_obj_get(yyjson_obj_get(root, "parameters"), "tavoAI");
}

bool offersRuntimes(const std::string& model)
{
    return model.find("\"libraryChoice") != std::string::npos;
}

std::string countText(size_t count, size_t all)
{
    return std::to_string(count) + " of " + std::to_string(all) +
        (all == 1 ? " camera" : " cameras");
}

// The first banner of the first model that has one: what the library says of itself.
std::string firstBanner(const LadderView& view)
{
    for (const std::string& model : view.models)
    {
        if (const std::vector<Banner> banners = readBanners(model); !banners.empty())
            return banners.front().text;
    }
    return {};
}

// A rung that the library works on by itself, and says in a banner how that goes.
Rung librarysWork(const char* title, bool isDone, const std::string& detail, const LadderView& view)
{
    if (isDone)
        return {title, State::done, detail};
    const std::string banner = firstBanner(view);
    const bool hasFailed = banner.find("could not") != std::string::npos;
    return {title, hasFailed ? State::failed : State::working, banner};
}

Rung cloudRung(const SystemIdentity& identity)
{
    constexpr char kTitle[] = "Cloud connection";
    return identity.cloudAuthToken.empty()
        ? Rung{kTitle, State::waiting, "This server has no cloud token"}
        : Rung{kTitle, State::done, "The server has a cloud token"};
}

Rung systemRung(const SystemIdentity& identity)
{
    constexpr char kTitle[] = "Cloud system";
    return identity.cloudSystemId.empty()
        ? Rung{kTitle, State::waiting, "This server belongs to no cloud system"}
        : Rung{kTitle, State::done, identity.cloudSystemId};
}

Rung serverRung(const RecordStore& store)
{
    const JsonDocument record =
        parseJson(store.find(RecordKind::server, kServerRecordId).value_or("{}"));
    const std::string version = stringMember(ownParameters(record), "pluginVersion");
    return version.empty() ? Rung{"Server record", State::working, "Not written yet"}
                           : Rung{"Server record", State::done, "Library " + version};
}

Rung applicationRung(const LadderView& view)
{
    const std::filesystem::path& folder = view.managerFolder;
    const bool isThere = std::filesystem::exists(folder / "bin/brunmod") &&
        std::filesystem::exists(folder / "bin/brund");
    const std::string version = readText(folder / "VERSION").value_or("");
    return librarysWork(
        "Inference application", isThere, version.empty() ? "Installed" : "Version " + version,
        view);
}

Rung runtimeRung(const LadderView& view)
{
    constexpr char kTitle[] = "AI runtime";
    if (std::any_of(view.models.begin(), view.models.end(), offersRuntimes))
        return {kTitle, State::waiting, "Choose one in the settings of a camera"};
    const auto name = readText(view.managerFolder / "bin/installed_runtime.txt");
    return librarysWork(kTitle, name && !name->empty(), name.value_or(""), view);
}

Rung pipelinesRung(const LadderView& view)
{
    size_t count = 0;
    for (const std::string& id : view.store.ids(RecordKind::device))
    {
        const JsonDocument record =
            parseJson(view.store.find(RecordKind::device, id).value_or("{}"));
        if (yyjson_arr_size(yyjson_obj_get(ownParameters(record), "pipelines")) > 0)
            ++count;
    }
    return {
        "Pipelines", count > 0 && count >= view.devices ? State::done : State::working,
        countText(count, view.devices)};
}

Rung modelsRung(const LadderView& view)
{
    const JsonDocument settings =
        parseJson(readText(view.managerFolder / "etc/settings.json").value_or(""));
    std::string names;
    for (yyjson_val* const model : jsonElements(yyjson_doc_get_root(settings.get())))
        names += (names.empty() ? "" : ", ") + stringMember(model, "Name");
    if (!names.empty())
        return {"Models", State::done, names};
    if (view.devicesWithResults > 0)
        return {"Models", State::done, "The application has its own"};
    return {"Models", State::working, "None handed to the application yet"};
}

// A rung that is reached when it is so of one camera at least.
Rung camerasRung(const char* title, size_t count, const LadderView& view, State otherwise)
{
    return {title, count > 0 ? State::done : otherwise, countText(count, view.devices)};
}

// What stands above a rung that is not reached can only be pending.
void settlePending(std::vector<Rung>* rungs)
{
    bool isReached = true;
    for (Rung& rung : *rungs)
    {
        if (!isReached && rung.state != State::done)
            rung = {rung.title, State::pending, {}};
        isReached = isReached && rung.state == State::done;
    }
}

} // namespace

std::vector<Rung> readLadder(const LadderView& view)
{
    const SystemIdentity identity = readIdentity(view.store);
    std::vector<Rung> rungs = {cloudRung(identity), systemRung(identity), serverRung(view.store)};
    rungs.push_back(camerasRung("Cameras", view.devices, view, State::waiting));
    rungs.push_back(applicationRung(view));
    rungs.push_back(runtimeRung(view));
    rungs.push_back(pipelinesRung(view));
    rungs.push_back(modelsRung(view));
    rungs.push_back(camerasRung("Switched on", view.devicesOn, view, State::waiting));
    rungs.push_back(camerasRung("Frames", view.devicesWithFrames, view, State::working));
    rungs.push_back(camerasRung("Results", view.devicesWithResults, view, State::working));
    settlePending(&rungs);
    return rungs;
}

std::vector<Banner> readBanners(const std::string& model)
{
    const JsonDocument document = parseJson(model);
    std::vector<Banner> banners;
    for (yyjson_val* const item :
         jsonElements(yyjson_obj_get(yyjson_doc_get_root(document.get()), "items")))
    {
        if (stringMember(item, "type") == "Banner" &&
            !yyjson_is_false(yyjson_obj_get(item, "visible")))
        {
            banners.push_back({stringMember(item, "icon"), stringMember(item, "text")});
        }
    }
    return banners;
}

} // namespace tavo::devkit
