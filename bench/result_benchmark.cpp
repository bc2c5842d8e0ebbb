// A result's road inside the plugin: 50 boxes of one class, 100 tracks in the tracker.
//   matching  the assignment of detections to tracks, against a full sort of all pairs; both must
//             come to the same in every round
//   handler   from the message's bytes to the packet for the host, against a plain tree, a plain
//             tracker and no kept memory; with ids in the message nothing is tracked
//   road      from the application's connect to the packets at the host, through a real engine and
//             agent, against the same message to a thread that only receives it
// What is compared takes turns within one run. See handoff_benchmark.cpp for busy machines.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <benchmark/benchmark.h>
#include <mpack.h>

#include "agent_rig.h"
#include "device_agent/objects/class_objects.h"
#include "device_agent/objects/object_packet.h"
#include "device_agent/objects/overlap_matcher.h"
#include "device_agent/objects/tracker.h"
#include "inference/protocol.h"
#include "plain_tracker.h"
#include "samples.h"
#include "utils/clock.h"
#include "utils/mpack_tree.h"

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;
using tavo::bench::measureUs;
using tavo::bench::Samples;
using tavo::vms_server_plugins::analytics::orlix::test::matchByFullSort;
using tavo::vms_server_plugins::analytics::orlix::test::PlainTracker;
namespace key = protocol::key;

constexpr std::size_t kDetections = 50;
constexpr std::size_t kTracks = 100;
constexpr std::size_t kMaxObjects = 1u << 16;
constexpr std::uint64_t kNowUs = 1'700'000'000'000'000;
constexpr char kClass[] = "person";

enum SceneKind
{
    street, // a box overlaps one or two others
    crowd, // a box overlaps a good part of the rest
};

// The boxes of 100 tracks, and of a result in which the first 50 of them have moved a little.
class Scene
{
public:
    explicit Scene(SceneKind kind)
    {
        const float width = kind == street ? 70.0f : 420.0f;
        const float height = kind == street ? 160.0f : 420.0f;
        std::uniform_real_distribution<float> x(0, 1920 - width);
        std::uniform_real_distribution<float> y(0, 1080 - height);
        for (std::size_t i = 0; i < kTracks; ++i)
        {
            const float left = x(m_random);
            const float top = y(m_random);
            m_tracks.push_back(
                object({left, top, left + width, top + height}, kNowUs - 40'000 * (1 + i % 25)));
        }
    }

    [[nodiscard]] const std::vector<TrackedObject>& tracks() const { return m_tracks; }

    [[nodiscard]] std::vector<TrackedObject> detections()
    {
        std::uniform_real_distribution<float> shift(-6, 6);
        std::vector<TrackedObject> detections;
        for (std::size_t i = 0; i < kDetections; ++i)
        {
            ResultBox box = m_tracks[i].box;
            const float dx = shift(m_random);
            const float dy = shift(m_random);
            box = {box.x1 + dx, box.y1 + dy, box.x2 + dx, box.y2 + dy};
            detections.push_back(object(box, kNowUs));
        }
        return detections;
    }

private:
    static TrackedObject object(const ResultBox& box, std::uint64_t timestampUs)
    {
        TrackedObject object;
        object.box = box;
        object.className = kClass;
        object.timestampUs = timestampUs;
        return object;
    }

    std::mt19937 m_random{7};
    std::vector<TrackedObject> m_tracks;
};

struct Row
{
    std::string name;
    double plainUs;
    double oursUs;
};
std::vector<Row> rows;

void report(benchmark::State& state, const std::string& name, Samples& plain, Samples& ours)
{
    rows.push_back({name, plain.median(), ours.median()});
    state.counters["plain_us"] = plain.median();
    state.counters["plain/ours"] = plain.median() / ours.median();
}

void matching(benchmark::State& state)
{
    const auto kind = static_cast<SceneKind>(state.range(0));
    Scene scene(kind);
    OverlapMatcher matcher;
    Samples plain;
    Samples ours;
    for (auto _ : state)
    {
        const auto detections = scene.detections();
        std::vector<std::uint32_t> expected;
        plain.add(measureUs([&]() { expected = matchByFullSort(detections, scene.tracks()); }));
        std::span<const std::uint32_t> found;
        MatchingBudget budget;
        const double us =
            measureUs([&]() { found = matcher.match(detections, scene.tracks(), budget); });
        ours.add(us);
        state.SetIterationTime(us / 1e6);
        if (!std::equal(expected.begin(), expected.end(), found.begin(), found.end()))
            state.SkipWithError("not the outcome of the full sort");
    }
    report(state, kind == street ? "matching, street" : "matching, crowd", plain, ours);
}

std::string encodedResult(
    const std::vector<TrackedObject>& objects, std::uint64_t timestampUs, bool withIds)
{
    MpackGrowableWriter growable;
    mpack_writer_t* const writer = growable.writer();
    mpack_start_map(writer, withIds ? 6 : 5);
    mpack_write_cstr(writer, key::kInputIndex);
    mpack_write_u64(writer, 0);
    mpack_write_cstr(writer, key::kTimestamp);
    mpack_write_u64(writer, timestampUs);
    mpack_write_cstr(writer, key::kWidth);
    mpack_write_i64(writer, 1920);
    mpack_write_cstr(writer, key::kHeight);
    mpack_write_i64(writer, 1080);
    mpack_write_cstr(writer, key::kBoxes);
    mpack_start_map(writer, 1);
    mpack_write_cstr(writer, kClass);
    mpack_start_bin(writer, static_cast<std::uint32_t>(objects.size() * sizeof(ResultBox)));
    for (const auto& object : objects)
        mpack_write_bytes(writer, reinterpret_cast<const char*>(&object.box), sizeof object.box);
    mpack_finish_bin(writer);
    mpack_finish_map(writer);
    if (withIds)
    {
        mpack_write_cstr(writer, key::kObjectsMetaData);
        mpack_start_map(writer, 1);
        mpack_write_cstr(writer, kClass);
        mpack_start_map(writer, 1);
        mpack_write_cstr(writer, key::kObjectIds);
        mpack_start_array(writer, static_cast<std::uint32_t>(objects.size()));
        for (std::size_t i = 0; i < objects.size(); ++i)
            mpack_write_bin(writer, "0123456789abcdef", 16);
        mpack_finish_array(writer);
        mpack_finish_map(writer);
        mpack_finish_map(writer);
    }
    mpack_finish_map(writer);
    growable.close();
    return {growable.bytes().data(), growable.bytes().size()};
}

void track(Tracker& tracker, std::vector<TrackedObject>& objects)
{
    MatchingBudget budget;
    tracker.trackClass(objects, kClass, budget);
}

void track(PlainTracker& tracker, std::vector<TrackedObject>& objects)
{
    tracker.trackClass(objects, kClass);
}

template <typename AnyTracker>
auto packetOf(mpack_node_t root, AnyTracker& tracker, const DeviceSettings& settings)
{
    const std::uint64_t timestampUs = mpack_node_u64(mpack_node_map_cstr(root, key::kTimestamp));
    const std::int64_t width = mpack_node_i64(mpack_node_map_cstr(root, key::kWidth));
    const std::int64_t height = mpack_node_i64(mpack_node_map_cstr(root, key::kHeight));
    const mpack_node_t boxes = mpack_node_map_cstr(root, key::kBoxes);
    const mpack_node_t metadata =
        metadataWithIds(mpack_node_map_cstr_optional(root, key::kObjectsMetaData), kClass);
    ObjectsByClass objects;
    auto& ofClass = objects[kClass];
    ofClass = readClassObjects(mpack_node_map_value_at(boxes, 0), metadata, kClass, timestampUs, kMaxObjects);
    if (mpack_node_is_missing(metadata))
        track(tracker, ofClass);
    return buildObjectPacket(objects, timestampUs, width, height, settings);
}

template <typename AnyTracker>
auto packetByPlainTree(
    const std::string& message, AnyTracker& tracker, const DeviceSettings& settings)
{
    mpack_tree_t tree;
    mpack_tree_init_data(&tree, message.data(), message.size());
    mpack_tree_parse(&tree);
    auto packet = packetOf(mpack_tree_root(&tree), tracker, settings);
    mpack_tree_destroy(&tree);
    return packet;
}

void handler(benchmark::State& state)
{
    const bool withIds = state.range(0) != 0;
    Scene scene(street);
    const DeviceSettings settings;
    Tracker tracker;
    PlainTracker plainTracker;
    MessageTree tree;
    const std::string first = encodedResult(scene.tracks(), kNowUs - 1'000'000, withIds);
    tree.parse(first);
    benchmark::DoNotOptimize(packetOf(tree.root(), tracker, settings));
    benchmark::DoNotOptimize(packetByPlainTree(first, plainTracker, settings));

    Samples plain;
    Samples ours;
    std::size_t round = 0;
    for (auto _ : state)
    {
        const std::string message = encodedResult(scene.detections(), kNowUs, withIds);
        const auto runPlain = [&]()
        { benchmark::DoNotOptimize(packetByPlainTree(message, plainTracker, settings)); };
        const auto runOurs = [&]()
        {
            tree.parse(message);
            benchmark::DoNotOptimize(packetOf(tree.root(), tracker, settings));
            tree.finish();
        };
        // Whoever is second finds the message in the caches.
        const bool plainFirst = ++round % 2 == 0;
        if (plainFirst)
            plain.add(measureUs(runPlain));
        const double us = measureUs(runOurs);
        if (!plainFirst)
            plain.add(measureUs(runPlain));
        ours.add(us);
        state.SetIterationTime(us / 1e6);
    }
    report(state, withIds ? "handler, with ids" : "handler, tracking", plain, ours);
}

sockaddr_un addressOf(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return address;
}

// Receives messages with bare system calls, and does nothing with them.
class BareReceiver
{
public:
    explicit BareReceiver(const std::string& path) :
        m_path(path)
    {
        const auto address = addressOf(path);
        if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            listen(m_socket, 16) != 0)
        {
            std::abort();
        }
        m_thread = std::thread([this]() { run(); });
    }
    ~BareReceiver()
    {
        shutdown(m_socket, SHUT_RDWR);
        m_thread.join();
        close(m_socket);
    }

    [[nodiscard]] const std::string& path() const { return m_path; }

    void waitFor(std::uint32_t count) const
    {
        for (std::uint32_t now = m_count; now < count; now = m_count)
            m_count.wait(now);
    }

private:
    void run()
    {
        char message[64 * 1024];
        for (;;)
        {
            const int connection = accept(m_socket, nullptr, nullptr);
            if (connection < 0)
                return;
            while (recv(connection, message, sizeof message, 0) > 0)
                continue;
            close(connection);
            ++m_count;
            m_count.notify_all();
        }
    }

    const std::string m_path;
    const int m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::atomic<std::uint32_t> m_count{0};
    std::thread m_thread;
};

// As the application does: header and body with one call.
void sendResult(const std::string& path, const std::string& record)
{
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto address = addressOf(path);
    if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        std::abort();
    send(connection, record.data(), record.size(), MSG_NOSIGNAL);
    close(connection);
}

std::string withHeader(const std::string& message)
{
    const auto size = static_cast<std::uint32_t>(message.size());
    std::string record(sizeof size, '\0');
    std::memcpy(record.data(), &size, sizeof size);
    return record + message;
}

void road(benchmark::State& state)
{
    char folder[] = "/tmp/orlix_bench_XXXXXX";
    if (!mkdtemp(folder))
        std::abort();
    setenv("TMPDIR", folder, 1);
    Scene scene(street);
    Samples plain;
    Samples ours;
    {
        tavo::bench::AgentRig rig(folder);
        BareReceiver receiver(std::string(folder) + "/bare.sock");
        while (!std::filesystem::exists(rig.pluginSocketPath()))
            usleep(1000);
        std::uint32_t received = 0;
        const auto handOver = [&](const std::vector<TrackedObject>& objects)
        {
            const auto record = withHeader(encodedResult(objects, time_now_us(), false));
            plain.add(measureUs(
                [&]()
                {
                    sendResult(receiver.path(), record);
                    receiver.waitFor(++received);
                }));
            usleep(300); // both sleep again
            const double us = measureUs(
                [&]()
                {
                    sendResult(rig.pluginSocketPath(), record);
                    rig.packets().waitFor(2 * received); // of objects and of events
                });
            usleep(300);
            return us;
        };
        benchmark::DoNotOptimize(handOver(scene.tracks()));
        for (auto _ : state)
        {
            const double us = handOver(scene.detections());
            ours.add(us);
            state.SetIterationTime(us / 1e6);
        }
    }
    std::filesystem::remove_all(folder);
    report(state, "road", plain, ours);
}

BENCHMARK(matching)
    ->ArgName("crowd")
    ->Arg(street)
    ->Arg(crowd)
    ->Iterations(3000)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(handler)->ArgName("ids")->Arg(0)->Arg(1)->Iterations(3000)->UseManualTime()->Unit(
    benchmark::kMicrosecond);

BENCHMARK(road)->Iterations(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);

void printTable()
{
    std::printf(
        "\nMedians in microseconds\n%-20s%10s%10s%14s\n", "", "plain", "ours", "plain / ours");
    for (const auto& row : rows)
    {
        std::printf(
            "%-20s%10.1f%10.1f%14.1f\n", row.name.c_str(), row.plainUs, row.oursUs,
            row.plainUs / row.oursUs);
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    printTable();
    return 0;
}
