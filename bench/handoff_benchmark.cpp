// A frame's hand-over, end to end: how long the thread that has the frame is held. Beside it,
// taking turns with it in the same run, block by block, what it cannot do without:
//   exchange    connect, three small messages, close, with bare system calls
//   floor       the same, and one memcpy of the frame into the mapped segment
//   two copies  the same, and a memcpy into other memory before it
//   by agent    the hand-over as the host sees it: a frame pushed to a device agent
// The other side is a process of its own that sleeps between frames and reads every one. Each side
// stays on a processor of its own: where the system puts them is worth more than what is compared,
// and it would put one way so and the next otherwise. On a busy machine both sides wait for a
// processor: run it with `chrt -f 10` there, or believe only the order of magnitude.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "agent_rig.h"
#include "frame_consumer.h"
#include "goals.h"
#include "inference/input_message.h"
#include "inference/orlix_manager_interface.h"
#include "samples.h"
#include "utils/json.h"
#include "utils/json_mpack.h"
#include "utils/log.h"

namespace
{

using namespace tavo::vms_server_plugins::analytics::orlix;
using tavo::bench::AgentRig;
using tavo::bench::BorrowedFrame;
using tavo::bench::Bound;
using tavo::bench::FrameConsumer;
using tavo::bench::goal;
using tavo::bench::kBlockRuns;
using tavo::bench::measureUs;
using tavo::bench::processorUs;
using tavo::bench::ratioOf;
using tavo::bench::runBlock;
using tavo::bench::Samples;

struct Row
{
    int width;
    int height;
    Samples exchange;
    Samples floor;
    Samples twoCopies;
    Samples handOver;
    Samples byAgent;
    double floorProcessorUs = 0; // of a frame, on average
    double agentProcessorUs = 0;
};

struct Goals
{
    double ofFloor;
    double ofTwoCopies;
};

const std::map<int, Goals> kGoals = {
    {360, {1.15, 0.85}}, {720, {1.15, 0.75}}, {1080, {1.1, 0.7}}, {2160, {0.7, 0.4}}};

std::vector<std::unique_ptr<Row>> rows;
FrameConsumer* consumer = nullptr;
AgentRig* rig = nullptr;

// A frame as a decoder leaves it: written a moment ago, at an offset that is no page's start.
class Frames
{
public:
    explicit Frames(std::size_t size) :
        m_size(size)
    {
        for (auto& frame : m_frames)
            frame.resize(size + kOffset);
    }

    const std::uint8_t* next()
    {
        auto& frame = m_frames[++m_count % m_frames.size()];
        std::memset(frame.data() + kOffset, static_cast<int>(m_count), m_size);
        return frame.data() + kOffset;
    }

private:
    static constexpr std::size_t kOffset = 0x40;

    const std::size_t m_size;
    std::size_t m_count = 0;
    std::vector<std::vector<std::uint8_t>> m_frames{4};
};

template <typename Write>
void bareExchange(Write&& write)
{
    // As docs/protocol.md shows them; the size at the end is any.
    static constexpr char announcement[38] =
        "\x22\0\0\0\x83\xabmessageType\0\xaaInputIndex\3\xa4Size\xcd\1";
    static constexpr char completion[13] = "\x9\0\0\0\x81\xa6Status";
    const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, consumer->socketPath().c_str(), sizeof address.sun_path - 1);
    if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        std::abort();
    char reply[256];
    send(connection, announcement, sizeof announcement, MSG_NOSIGNAL);
    if (recv(connection, reply, sizeof reply, 0) <= 0)
        std::abort();
    write();
    send(connection, completion, sizeof completion, MSG_NOSIGNAL);
    close(connection);
}

void handOver(benchmark::State& state)
{
    rows.push_back(std::make_unique<Row>());
    Row& row = *rows.back();
    row.width = static_cast<int>(state.range(0));
    row.height = static_cast<int>(state.range(1));
    const auto width = static_cast<std::uint32_t>(row.width);
    const auto height = static_cast<std::uint32_t>(row.height);
    const std::size_t size = std::size_t{width} * height * 3;

    Frames frames(size);
    std::vector<char> between(size);
    ShmSegment segment;
    shm_from_name(segment, consumer->segmentName());
    shm_open(segment);
    const ShmView view = shm_attach(segment);
    char* const target = view.address() + kShmHeaderSize;
    const auto size32 = static_cast<std::uint32_t>(size);
    std::memcpy(view.address(), &size32, sizeof size32);

    MessageBoard board;
    OrlixManagerInterface manager(std::filesystem::temp_directory_path(), &board);
    const auto document = parseJson(
        R"([{"modelUUID":"6b8b7f2c","modelNMS":0.5,"Postprocessor":"LineCrossing","chains":[]}])");
    const auto pipelines = json_to_mpack_tree(yyjson_doc_get_root(document.get()));
    const std::string id = "0b5b5d3f-0000-4000-8000-000000000001";
    const std::string name = "Gate north";
    DeviceSettings settings;
    settings.line = {0.1f, 0.5f, 0.9f, 0.5f};
    settings.masks = {{0.f, 0.f, 1.f, 0.f, 1.f, 1.f, 0.f, 1.f}};
    MessageBuffer message;

    const auto exchanged = [&](auto&& write)
    {
        const double us = measureUs([&]() { bareExchange(write); });
        consumer->waitUntilAsleep();
        return us;
    };
    const double runs = static_cast<double>(state.max_iterations) * kBlockRuns;
    const auto processorTime = [runs](double& share, auto&& run)
    {
        const double before = processorUs();
        const double us = run();
        share += (processorUs() - before) / runs;
        return us;
    };
    for (auto _ : state)
    {
        runBlock(row.exchange, [&]() { return exchanged([]() {}); });
        runBlock(
            row.floor,
            [&]()
            {
                const std::uint8_t* const frame = frames.next();
                const double us = processorTime(
                    row.floorProcessorUs,
                    [&] {
                        return measureUs(
                            [&]() { bareExchange([&]() { std::memcpy(target, frame, size); }); });
                    });
                consumer->waitUntilAsleep();
                return us;
            });
        runBlock(
            row.twoCopies,
            [&]()
            {
                const std::uint8_t* const frame = frames.next();
                return measureUs([&]() { std::memcpy(between.data(), frame, size); }) +
                    exchanged([&]() { std::memcpy(target, between.data(), size); });
            });
        runBlock(
            row.handOver,
            [&]()
            {
                const InputImage image{frames.next(), std::size_t{width} * 3, width, height};
                const double us = measureUs(
                    [&]()
                    {
                        if (!createInputMessage(
                                image, {1, 3, id, name}, settings, pipelines->bytes(), message) ||
                            !manager.sendInput(message, 3))
                        {
                            state.SkipWithError("not handed over");
                        }
                    });
                consumer->waitUntilAsleep();
                return us;
            });
        runBlock(
            row.byAgent,
            [&]()
            {
                const auto frame =
                    tavo::sdk::makePtr<BorrowedFrame>(frames.next(), row.width, row.height);
                const double us = processorTime(
                    row.agentProcessorUs, [&] { return measureUs([&]() { rig->push(*frame); }); });
                consumer->waitUntilAsleep();
                return us;
            });
        state.SetIterationTime(row.byAgent.blockMedians().back() / 1e6);
    }
    shm_close(segment);
    state.counters["exchange_us"] = row.exchange.overall();
    state.counters["floor_us"] = row.floor.overall();
    state.counters["floor_processor_us"] = row.floorProcessorUs;
    state.counters["processor_us"] = row.agentProcessorUs;
    const std::string frame = std::to_string(row.width) + "x" + std::to_string(row.height);
    const Goals& goals = kGoals.at(row.height);
    goal(
        state, "hand-off / floor, " + frame, ratioOf(row.byAgent, row.floor), Bound::atMost,
        goals.ofFloor);
    goal(
        state, "hand-off / two copies, " + frame, ratioOf(row.byAgent, row.twoCopies),
        Bound::atMost, goals.ofTwoCopies);
}

BENCHMARK(handOver)
    ->ArgNames({"width", "height"})
    ->Args({640, 360})
    ->Args({1280, 720})
    ->Args({1920, 1080})
    ->Args({3840, 2160})
    ->Iterations(8) // blocks of each way
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

void printTable()
{
    std::printf(
        "\nMedians in microseconds, and the host's processor time of a frame\n"
        "%-12s%10s%10s%12s%10s%10s%10s%14s%14s%14s\n",
        "frame", "exchange", "floor", "two copies", "hand-over", "by agent", "/ floor",
        "/ two copies", "floor, proc.", "agent, proc.");
    for (const auto& row : rows)
    {
        const std::string frame = std::to_string(row->width) + "x" + std::to_string(row->height);
        std::printf(
            "%-12s%10.0f%10.0f%12.0f%10.0f%10.0f%10.2f%14.2f%14.0f%14.0f\n", frame.c_str(),
            row->exchange.overall(), row->floor.overall(), row->twoCopies.overall(),
            row->handOver.overall(), row->byAgent.overall(), ratioOf(row->byAgent, row->floor),
            ratioOf(row->byAgent, row->twoCopies), row->floorProcessorUs, row->agentProcessorUs);
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    {
        const tavo::bench::OwnFolder folder;
        FrameConsumer theConsumer(folder.path);
        consumer = &theConsumer;
        AgentRig theRig(folder.path); // its threads must not be there yet for the fork
        rig = &theRig;
        tavo::bench::stayOn(tavo::bench::Processor::first);
        benchmark::RunSpecifiedBenchmarks();
    }
    printTable();
    return tavo::bench::printGoals() == 0 ? 0 : 1;
}
