// A result's road inside the plugin: 50 boxes of one class, 100 tracks in the tracker.
//   matching  the assignment of detections to tracks, against a full sort of all pairs; both must
//             come to the same in every round
//   handler   from the message's bytes to the packet for the host, against a plain tree, a plain
//             tracker and no kept memory; with ids in the message nothing is tracked
//   road      from the application's connect to the packets at the host, through a real engine and
//             agent, against the same message to a thread that only receives it
// and what is the most that anything can cost:
//   large     messages as large as the bounds let in, as an agent handles them
// What is compared takes turns within one run, block by block. See handoff_benchmark.cpp for busy
// machines.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
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
#include "goals.h"
#include "inference/protocol.h"
#include "plain_tracker.h"
#include "samples.h"
#include "scene.h"
#include "utils/clock.h"
#include "utils/mpack_tree.h"

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;
using namespace tavo::bench;
using tavo::vms_server_plugins::analytics::orlix::test::matchByFullSort;
using tavo::vms_server_plugins::analytics::orlix::test::PlainTracker;
namespace key = protocol::key;

constexpr std::size_t kMaxObjects = 1u << 16;

struct Row
{
    Samples plain;
    Samples ours;
};
std::map<std::string, Row> rows;

// The two ways take turns, block by block, on the same detections.
void matching(benchmark::State& state)
{
    const auto kind = static_cast<SceneKind>(state.range(0));
    Row& row = rows[kind == street ? "matching, street" : "matching, crowd"];
    Scene scene(kind);
    OverlapMatcher matcher;
    std::vector<std::vector<TrackedObject>> detections(kBlockRuns);
    std::vector<std::vector<std::uint32_t>> expected(kBlockRuns);
    for (auto _ : state)
    {
        for (auto& each : detections)
            each = scene.detections();
        std::size_t run = 0;
        runBlock(
            row.plain,
            [&]()
            {
                const std::size_t i = run++;
                return measureUs([&]()
                                 { expected[i] = matchByFullSort(detections[i], scene.tracks()); });
            });
        run = 0;
        runBlock(
            row.ours,
            [&]()
            {
                const std::size_t i = run++;
                MatchingBudget budget;
                std::span<const std::uint32_t> found;
                const double us = measureUs(
                    [&]() { found = matcher.match(detections[i], scene.tracks(), budget); });
                if (!std::ranges::equal(found, expected[i]))
                    state.SkipWithError("not the outcome of the full sort");
                return us;
            });
        state.SetIterationTime(row.ours.blockMedians().back() / 1e6);
    }
    goal(
        state, kind == street ? "full sort / matching, street" : "full sort / matching, crowd",
        ratioOf(row.plain, row.ours), Bound::atLeast, 20);
}

// 10,000 people in one picture; each overlaps some ten others.
void matchingOfMany(benchmark::State& state)
{
    constexpr std::size_t kMany = 10'000;
    const auto tracks = scatteredObjects(kMany, 20, 30, kNowUs);
    const auto detections = scatteredObjects(kMany, 20, 30, kNowUs + 100'000);
    OverlapMatcher matcher;
    Samples ours;
    for (auto _ : state)
    {
        MatchingBudget budget;
        const double us = measureUs(
            [&]() { benchmark::DoNotOptimize(matcher.match(detections, tracks, budget)); });
        ours.add(us);
        state.SetIterationTime(us / 1e6);
    }
    goal(state, "matching of 10,000, ms", ours.median() / 1000, Bound::atMost, 20);
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
    ofClass = readClassObjects(
        mpack_node_map_value_at(boxes, 0), metadata, kClass, timestampUs, kMaxObjects);
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

    Row& row = rows[withIds ? "handler, with ids" : "handler, tracking"];
    for (auto _ : state)
    {
        runBlock(
            row.plain,
            [&]()
            {
                const std::string message = encodedResult(scene.detections(), kNowUs, withIds);
                return measureUs(
                    [&]() {
                        benchmark::DoNotOptimize(
                            packetByPlainTree(message, plainTracker, settings));
                    });
            });
        runBlock(
            row.ours,
            [&]()
            {
                const std::string message = encodedResult(scene.detections(), kNowUs, withIds);
                return measureUs(
                    [&]()
                    {
                        tree.parse(message);
                        benchmark::DoNotOptimize(packetOf(tree.root(), tracker, settings));
                        tree.finish();
                    });
            });
        state.SetIterationTime(row.ours.blockMedians().back() / 1e6);
    }
    if (!withIds)
    {
        goal(state, "plain / handler", ratioOf(row.plain, row.ours), Bound::atLeast, 18);
    }
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
            const int connection = accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
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
    const OwnFolder folder;
    Scene scene(street);
    Row& row = rows["road"];
    {
        AgentRig rig(folder.path);
        BareReceiver receiver(std::string(folder.path) + "/bare.sock");
        while (!std::filesystem::exists(rig.pluginSocketPath()))
            usleep(1000);
        std::uint32_t received = 0;
        std::uint32_t handled = 0;
        const auto record = [&](const std::vector<TrackedObject>& objects)
        { return withHeader(encodedResult(objects, time_now_us(), false)); };
        const auto send = [&](const std::string& path, const std::string& bytes, auto&& wait)
        {
            const double us = measureUs(
                [&]()
                {
                    sendResult(path, bytes);
                    wait();
                });
            usleep(300); // the other side sleeps again
            return us;
        };
        const auto hand = [&](const std::string& bytes)
        {
            return send(
                rig.pluginSocketPath(), bytes,
                [&]() { rig.packets().waitFor(2 * ++handled); }); // of objects and of events
        };
        hand(record(scene.tracks()));
        for (auto _ : state)
        {
            runBlock(
                row.plain,
                [&]()
                {
                    return send(
                        receiver.path(), record(scene.detections()),
                        [&]() { receiver.waitFor(++received); });
                });
            runBlock(row.ours, [&]() { return hand(record(scene.detections())); });
            state.SetIterationTime(row.ours.blockMedians().back() / 1e6);
        }
    }
    goal(
        state, "road / (exchange + handler)",
        row.ours.overall() / (row.plain.overall() + rows["handler, tracking"].ours.overall()),
        Bound::atMost, 1.1);
}

// As many nodes as a message may have: objects with ids and attributes.
std::string encodedAttributes(std::uint64_t timestampUs)
{
    constexpr std::uint32_t kObjects = 49'000;
    constexpr std::uint32_t kAttributes = 9; // of an object
    MpackGrowableWriter growable;
    mpack_writer_t* const writer = growable.writer();
    const auto perObject = [&](const char* name, auto&& writeValue)
    {
        mpack_write_cstr(writer, name);
        mpack_start_array(writer, kObjects);
        for (std::uint32_t i = 0; i < kObjects; ++i)
            writeValue();
        mpack_finish_array(writer);
    };
    const auto texts = [&]()
    {
        mpack_start_array(writer, kAttributes);
        for (std::uint32_t i = 0; i < kAttributes; ++i)
            mpack_write_cstr(writer, "text");
        mpack_finish_array(writer);
    };
    mpack_start_map(writer, 6);
    mpack_write_kv(writer, key::kInputIndex, 0);
    mpack_write_kv(writer, key::kTimestamp, timestampUs);
    mpack_write_kv(writer, key::kWidth, 1920);
    mpack_write_kv(writer, key::kHeight, 1080);
    mpack_write_cstr(writer, key::kBoxes);
    mpack_start_map(writer, 1);
    mpack_write_cstr(writer, kClass);
    const std::string boxes(kObjects * sizeof(ResultBox), '\x3e');
    mpack_write_bin(writer, boxes.data(), static_cast<std::uint32_t>(boxes.size()));
    mpack_finish_map(writer);
    mpack_write_cstr(writer, key::kObjectsMetaData);
    mpack_start_map(writer, 1);
    mpack_write_cstr(writer, kClass);
    mpack_start_map(writer, 3);
    perObject(key::kObjectIds, [&]() { mpack_write_bin(writer, "0123456789abcdef", 16); });
    perObject(key::kAttributeKeys, texts);
    perObject(key::kAttributeValues, texts);
    mpack_finish_map(writer);
    mpack_finish_map(writer);
    mpack_finish_map(writer);
    growable.close();
    return {growable.bytes().data(), growable.bytes().size()};
}

// The largest of each kind.
enum LargeKind
{
    scattered,
    samePlace,
    attributes,
    kLargeKinds,
};

constexpr const char* kLargeNames[] = {
    "scattered objects", "objects in one place", "objects with attributes"};

std::string largeMessage(LargeKind kind, std::uint64_t timestampUs)
{
    switch (kind)
    {
        case scattered:
            return encodedResult(
                scatteredObjects(kMaxObjects, 10, 10, timestampUs), timestampUs, false);
        case samePlace:
            // As many as still fit the matching: more would be cheaper.
            return encodedResult(
                std::vector<TrackedObject>(1770, scatteredObjects(1, 10, 10, 1).front()),
                timestampUs, false);
        case attributes:
        case kLargeKinds:
            break;
    }
    return encodedAttributes(timestampUs);
}

void large(benchmark::State& state)
{
    const auto kind = static_cast<LargeKind>(state.range(0));
    const OwnFolder folder;
    Samples ours;
    {
        AgentRig rig(folder.path);
        MessageTree tree;
        std::uint64_t timestampUs = kNowUs;
        const auto handle = [&]()
        {
            const std::string message = largeMessage(kind, timestampUs += 100'000);
            return measureUs(
                [&]()
                {
                    tree.parse(message);
                    rig.handle(tree.root());
                    if (tree.finish() != mpack_ok)
                        state.SkipWithError("not within the bounds");
                });
        };
        handle();
        for (auto _ : state)
        {
            const double us = handle();
            ours.add(us);
            state.SetIterationTime(us / 1e6);
        }
    }
    goal(
        state, std::string("a message of ") + kLargeNames[kind] + ", ms", ours.median() / 1000,
        Bound::atMost, 200);
}

BENCHMARK(matching)
    ->ArgName("crowd")
    ->Arg(street)
    ->Arg(crowd)
    ->Iterations(30)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(matchingOfMany)->Iterations(15)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(handler)->ArgName("ids")->Arg(0)->Arg(1)->Iterations(30)->UseManualTime()->Unit(
    benchmark::kMicrosecond);
BENCHMARK(road)->Iterations(10)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(large)
    ->ArgName("kind")
    ->DenseRange(0, kLargeKinds - 1)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void printTable()
{
    std::printf(
        "\nMedians in microseconds\n%-20s%10s%10s%14s\n", "", "plain", "ours", "plain / ours");
    for (auto& [name, row] : rows)
    {
        std::printf(
            "%-20s%10.1f%10.1f%14.1f\n", name.c_str(), row.plain.overall(), row.ours.overall(),
            ratioOf(row.plain, row.ours));
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    printTable();
    return printGoals() == 0 ? 0 : 1;
}
