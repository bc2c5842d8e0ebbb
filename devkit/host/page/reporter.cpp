#include "page/reporter.h"

#include "common/clock.h"
#include "common/json.h"
#include "common/resources.h"

namespace tavo::devkit
{

namespace
{

constexpr int64_t kPeriodUs = 1'000'000;
constexpr int64_t kFlowingUs = 3'000'000; // a pause up to this is none

std::filesystem::path libraryFolder(const Host& host)
{
    return std::filesystem::path(host.options().workDir) / "tavo_orlix_manager";
}

std::filesystem::path managerFolder(const Host& host)
{
    return libraryFolder(host) / "orlix_manager";
}

std::vector<LogFollower> followLogs(const Host& host)
{
    const std::filesystem::path library = libraryFolder(host);
    const std::filesystem::path etc = managerFolder(host) / "etc";
    return {
        LogFollower("library", {library / "orlix_plugin_start.log", library / "orlix_plugin.log"}),
        LogFollower(
            "application",
            {etc / "brunmod_start.log", etc / "brunmod.log", etc / "brunmod_crash.log"}),
        LogFollower(
            "engine", {etc / "brund_0_start.log", etc / "brund_0.log", etc / "brund_0_crash.log"})};
}

const char* stateName(Rung::State state)
{
    switch (state)
    {
        case Rung::State::pending:
            return "pending";
        case Rung::State::working:
            return "working";
        case Rung::State::waiting:
            return "waiting";
        case Rung::State::failed:
            return "failed";
        case Rung::State::done:
            return "done";
    }
    return "";
}

std::string logMessage(const std::string& log, const std::vector<std::string>& lines)
{
    JsonMaker json;
    JsonNode list = json.add("kind", "log").add("log", log).addList("lines");
    for (const std::string& line : lines)
        list.push(line);
    return json.text();
}

bool isSwitchedOn(const RecordStore& store, const std::string& deviceId)
{
    const SettingValues values =
        parseSettingValues(store.find(RecordKind::settings, deviceId).value_or("{}"));
    const auto value = values.find("deviceActiveSwitch");
    return value != values.end() && value->second == "true";
}

} // namespace

Reporter::Reporter(Host& host, LiveView& live) :
    m_host(host),
    m_live(live),
    m_logs(followLogs(host)),
    m_thread([this](std::stop_token stop) { run(std::move(stop)); })
{}

std::vector<std::string> Reporter::greeting()
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> messages = {status()};
    for (LogFollower& log : m_logs)
    {
        (void)log.takeNew();
        messages.push_back(logMessage(log.name(), log.recent()));
    }
    return messages;
}

void Reporter::run(std::stop_token stop)
{
    int64_t nextUs = steadyClockUs();
    while (sleepUntilUs(nextUs, stop))
    {
        nextUs += kPeriodUs;
        const std::lock_guard lock(m_mutex);
        const std::string text = status(); // also when nobody looks: it knows what flows
        if (!m_live.isWatched())
            continue;
        m_live.publish(text);
        publishLogs();
    }
}

void Reporter::publishLogs()
{
    for (LogFollower& log : m_logs)
    {
        if (const std::vector<std::string> lines = log.takeNew(); !lines.empty())
            m_live.publish(logMessage(log.name(), lines));
    }
}

std::string Reporter::status()
{
    const int64_t nowUs = steadyClockUs();
    JsonMaker json;
    json.add("kind", "status")
        .add("nowUs", wallClockUs())
        .add("memoryBytes", readProcessResources().residentBytes);
    JsonNode cameras = json.addList("cameras");
    for (const auto& device : m_host.devices().all())
    {
        const CameraTotals totals = device->statistics().totals();
        Seen& seen = m_seen[device->origin().deviceId];
        if (totals.framesSent != seen.totals.framesSent)
            seen.frameUs = nowUs;
        if (totals.results != seen.totals.results)
            seen.resultUs = nowUs;
        seen.totals = totals;
        JsonNode camera = cameras.pushObject();
        camera.add("id", device->origin().deviceId)
            .add("trouble", m_host.feeds().state(device->source()).trouble)
            .add("framesSent", totals.framesSent)
            .add("framesLost", totals.framesLost)
            .add("framesRefused", totals.pushFailures)
            .add("results", totals.results)
            .add("objects", totals.objects);
        // Where the time goes, a part each: a page shows as many as there are.
        camera.addList("latency")
            .pushObject()
            .add("name", "Frame to result")
            .add("meanMs", totals.latencyMeanMs())
            .add("maxMs", totals.latencyMaxMs());
    }
    JsonNode rungs = json.addList("ladder");
    for (const Rung& rung : ladder(nowUs))
    {
        rungs.pushObject()
            .add("title", rung.title)
            .add("state", stateName(rung.state))
            .add("detail", rung.detail);
    }
    return json.text();
}

std::vector<Rung> Reporter::ladder(int64_t nowUs) const
{
    LadderView view{m_host.records(), managerFolder(m_host), {}, 0, 0, 0, 0};
    for (const auto& device : m_host.devices().all())
    {
        const std::string& id = device->origin().deviceId;
        ++view.devices;
        view.models.push_back(device->dialog().lastModel());
        view.devicesOn += isSwitchedOn(m_host.records(), id);
        const auto seen = m_seen.find(id);
        if (seen == m_seen.end())
            continue;
        view.devicesWithFrames += nowUs - seen->second.frameUs < kFlowingUs;
        view.devicesWithResults += nowUs - seen->second.resultUs < kFlowingUs;
    }
    return readLadder(view);
}

} // namespace tavo::devkit
