// The road of a frame, through a real agent to an application's end of sockets and segment.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "../inference/module_peer.h"
#include "agent_fixture.h"
#include "fake_frame.h"
#include "gate.h"
#include "utils/clock.h"
#include "utils/shm.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

using namespace test;

constexpr char kPipelines[] =
    R"({"deviceAdmin": "https://admin", "pipelines": [{"modelUUID": "m1", "modelNMS": 0.5}]})";

class Frames : public AgentTest
{
protected:
    Frames()
    {
        shm_create_random(segment, /*payloadSize*/ 1 << 20);
        application.reply(encodedReply(segment.name));
        openGates();
    }
    ~Frames() override
    {
        shm_close(segment);
        shm_remove(segment);
        EXPECT_EQ(0, FakeFrame::alive) << "every frame was released";
    }

    // The error message of the push; empty on success.
    std::string push() { return push(*agent); }
    static std::string push(
        DeviceAgent& camera, sdk::Ptr<FakeFrame> frame = sdk::makePtr<FakeFrame>())
    {
        sdk::Result<void> result;
        camera.doPushDataPacket(&result, frame.get());
        const sdk::Ptr<const sdk::IString> message(result.errorMessage);
        return message ? message->str() : "";
    }

    // Of an input there are the announcement and the message that it is in its segment.
    std::size_t inputs(std::size_t count) { return application.messages(2 * count).size() / 2; }

    void setCropBox(const std::string& points)
    {
        setSettings({{"cropBox", R"({"figure": {"points": )" + points + "}}"}});
    }

    // Pushes a frame and checks its input, whose rows start at `first` and every `stride` bytes.
    void expectInput(char first, char stride, std::uint64_t width, std::uint64_t height)
    {
        EXPECT_EQ("", push());
        std::uint32_t size = 0;
        const char* data = nullptr;
        const ShmView view = shm_read(segment, size, data);
        MessageTree tree;
        (void)tree.parse({data, size});
        const auto at = [&](const char* key) { return mpack_node_map_cstr(tree.root(), key); };
        EXPECT_EQ(width, mpack_node_u64(at("Width")));
        EXPECT_EQ(height, mpack_node_u64(at("Height")));
        ASSERT_EQ(3 * width * height, mpack_node_bin_size(at("ImageData")));
        const char* pixels = mpack_node_bin_data(at("ImageData"));
        for (std::size_t row = 0; row < height; ++row)
        {
            for (std::size_t i = 0; i < 3 * width; ++i)
                ASSERT_EQ(static_cast<char>(first + row * stride + i), *pixels++);
        }
    }

    ModulePeer application{folder.path()};
    ShmSegment segment;
};

TEST_F(Frames, PassOnlyWhenAllGatesAreOpen)
{
    EXPECT_EQ("", push()) << "no pipeline, which no override mends";
    processParameters(kPipelines);
    ini().sendFramesOverride = false;
    EXPECT_EQ("", push()) << "not active";
    setSettings({{"deviceActiveSwitch", "true"}});
    EXPECT_EQ("", push()) << "the application does not run";
    ini().sendFramesOverride = true;
    services().cloudState = 2;
    EXPECT_EQ("", push()) << "no cloud, which no override mends";
    EXPECT_EQ(0u, inputs(0));
    services().cloudState = kCloudConnected;
    // Pipelines that went away leave the gate open.
    processParameters(R"({"deviceAdmin": "https://admin"})");
    EXPECT_EQ("", push());
    EXPECT_EQ(1u, inputs(1));
}

TEST_F(Frames, ArriveWholeOrCroppedOrFail)
{
    const CapturedLog log;
    processParameters(kPipelines);
    expectInput(0, 32, 8, 4);
    EXPECT_THAT(log.text(), testing::HasSubstr("Warning! Frame age over 500ms. Time now:  "));
    // With padding behind the rows a crop is read as if there were none.
    setCropBox("[[0.25, 0.5], [0.75, 1]]");
    expectInput(2 * 24 + 2 * 3, 24, 4, 2);
    setCropBox("[[0, 0], [1, 1]]");
    expectInput(0, 24, 8, 4);
    setCropBox("[[0.2, 0.3], [0.49, 0.99]]"); // each corner is cut to a whole pixel
    expectInput(24 + 3, 24, 2, 2);
    // Both in the second column; both in the second row.
    for (const char* const tooSmall : {"[[0.13, 0], [0.24, 1]]", "[[0, 0.3], [1, 0.45]]"})
    {
        setCropBox(tooSmall);
        EXPECT_EQ("pushUncompressedVideoFrame() failed.", push());
    }
    EXPECT_THAT(log.text(), testing::HasSubstr("Error! Crop box too small!\n"));
    setCropBox("[[0.125, 0], [0.25, 1]]");
    expectInput(3, 24, 1, 4);
}

TEST_F(Frames, ThatAreNotWholeFailWithOneLine)
{
    processParameters(kPipelines);
    std::size_t whole = 0;
    const auto isCalledOld = [&](std::int64_t ageUs)
    {
        const CapturedLog log;
        ++whole;
        const auto timeUs = static_cast<std::int64_t>(time_now_us()) - ageUs;
        EXPECT_EQ(
            "", push(*agent, sdk::makePtr<FakeFrame>([=](FakeFrame& f) { f.timeUs = timeUs; })));
        return log.text().find("Frame age over 500ms") != std::string::npos;
    };
    while (isCalledOld(100'000)) // as long as a busy machine makes it so
        ASSERT_GT(100u, whole);
    EXPECT_TRUE(isCalledOld(600'000));
    EXPECT_EQ(whole, inputs(whole));
    const std::pair<std::string, std::function<void(FakeFrame&)>> kCases[] = {
        {"format 0, 8x4, 32 bytes a row, 120",
         [](FakeFrame& frame) { frame.format = FakeFrame::PixelFormat::yuv420; }},
        {"format 5, 0x4, 32 bytes a row, 120", [](FakeFrame& frame) { frame.columns = 0; }},
        {"format 5, 8x-4, 32 bytes a row, 120", [](FakeFrame& frame) { frame.rows = -4; }},
        {"format 5, 8x4, 23 bytes a row, 120", [](FakeFrame& frame) { frame.rowSize = 23; }},
        {"format 5, 8x4, 32 bytes a row, 119", [](FakeFrame& frame) { frame.size = 119; }},
        {"format 5, 8x4, 32 bytes a row, 0", [](FakeFrame& frame) { frame.isMapped = false; }},
        {"format 5, 2147483647x2147483647, 32 bytes a row, 120",
         [](FakeFrame& frame) { frame.columns = frame.rows = 2'147'483'647; }}};
    for (const auto& [line, change] : kCases)
    {
        startAgent(); // which has said nothing yet
        processParameters(kPipelines);
        const CapturedLog log;
        EXPECT_EQ(
            "pushUncompressedVideoFrame() failed.", push(*agent, sdk::makePtr<FakeFrame>(change)));
        const std::string text = log.text();
        const std::size_t first = text.find("no whole RGB picture: " + line + " bytes.\n");
        EXPECT_NE(std::string::npos, first) << text;
        EXPECT_EQ(first, text.rfind("no whole RGB picture: "));
    }
    EXPECT_EQ(whole, inputs(whole));

    // One that is whole, and larger than any segment.
    const CapturedLog log;
    const auto huge = sdk::makePtr<FakeFrame>(
        [](FakeFrame& frame)
        {
            frame.columns = 10'000;
            frame.rows = 7'000;
            frame.rowSize = 30'000;
            frame.size = 210'000'000;
        });
    EXPECT_EQ("pushUncompressedVideoFrame() failed.", push(*agent, huge));
    EXPECT_THAT(log.text(), testing::HasSubstr("Warning! Could not create image message.\n"));
    EXPECT_THAT(log.text(), testing::HasSubstr(" sends frames of 10000x7000\n"));
}

TEST_F(Frames, ThatAreNotTakenAreNoFailureAndAreNotTimed)
{
    processParameters(kPipelines);
    handleResult({{"Timestamp", number(1)}}); // the first one is without figures
    (void)handler->takeEvents();
    for (const std::string& reply : {encodedReply(""), encodedReply(segment.name)})
    {
        application.reply(reply);
        const std::uint64_t before = time_now_us();
        EXPECT_EQ("", push());
        // A hundredth of one frame's latency is told, in whole milliseconds.
        const std::uint64_t pushed = time_now_us();
        EXPECT_TRUE(comesTrue([&]() { return time_now_us() > pushed + 200'000; }));
        handleResult({{"Timestamp", number(12345)}});
        const std::uint64_t most = (time_now_us() - before) / 100'000;
        const std::string event = handler->takeEvents().at(0);
        const std::size_t latency = event.find("Latency: ");
        ASSERT_EQ(reply.size() > 1, latency != std::string::npos);
        if (latency == std::string::npos)
            continue;
        const int ms = std::stoi(event.substr(latency + std::strlen("Latency: ")));
        EXPECT_LE(2, ms);
        EXPECT_LE(ms, static_cast<int>(most));
    }
}

// Another camera's turn, from one call to the other.
class OtherCamera
{
public:
    explicit OtherCamera(ExchangeLine& line) :
        m_turn(std::async(
            std::launch::async,
            [this, &line]
            {
                ExchangeLine::Place place;
                const ExchangeLine::Turn turn(line, place);
                m_end.pass();
            }))
    {
        EXPECT_TRUE(m_end.isReached());
    }

    ~OtherCamera() { endTurn(); }

    void endTurn() { m_end.open(); }

private:
    Gate m_end;
    const std::future<void> m_turn;
};

TEST_F(Frames, WithoutATurnAreGivenUpAndOfACameraThatIsOffNeverStandInLine)
{
    const CapturedLog log;
    processParameters(kPipelines);
    OtherCamera other(services().managerInterface().line());
    ini().sendFramesOverride = false;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i) // 20 s in line
        EXPECT_EQ("", push());
    EXPECT_GT(std::chrono::seconds(10), std::chrono::steady_clock::now() - begin);
    ini().sendFramesOverride = true;
    EXPECT_EQ("", push());
    EXPECT_THAT(log.text(), testing::HasSubstr("No turn in time for a frame. Cameras in line: 0"));
    other.endTurn();
    EXPECT_EQ("", push());
    EXPECT_EQ(1u, inputs(1));
}

// What holds of a frame holds when its turn has come.
TEST_F(Frames, PassTheGatesAgainAfterTheirWait)
{
    processParameters(kPipelines);
    ExchangeLine& line = services().managerInterface().line();
    for (const int cloudState : {kCloudConnected, kCloudConnected + 1})
    {
        const CapturedLog log;
        std::uint64_t turnEndedUs = 0;
        bool wasInLine = false;
        while (!wasInLine) // as long as it takes to be quicker than its patience
        {
            services().cloudState = kCloudConnected;
            OtherCamera other(line);
            auto pushed = std::async(std::launch::async, [this] { return push(); });
            while (line.length() == 0 &&
                   pushed.wait_for(std::chrono::milliseconds(0)) != std::future_status::ready)
            {}
            services().cloudState = cloudState;
            turnEndedUs = time_now_us();
            wasInLine = line.length() == 1;
            other.endTurn();
            EXPECT_EQ("", pushed.get());
        }
        constexpr char kAge[] = "over 500ms. Time now:  ";
        const std::string text = log.text();
        const std::size_t age = text.rfind(kAge);
        ASSERT_EQ(cloudState == kCloudConnected, age != std::string::npos);
        if (age != std::string::npos)
        {
            EXPECT_LE(turnEndedUs, std::stoull(text.substr(age + std::strlen(kAge))));
        }
    }
    EXPECT_EQ(1u, inputs(1));
}

// Beside the frame, whose thread is held for a second by an application that never answers.
TEST_F(Frames, HoldUpNobodyElseWhileTheApplicationHangs)
{
    processParameters(kPipelines);
    bool frameWasOut = false;
    for (int attempt = 0; !frameWasOut && attempt < 5; ++attempt)
    {
        const auto gate = std::make_shared<Gate>(); // the application keeps it to the end
        application.replyBy(
            [gate]
            {
                gate->pass();
                return std::string();
            });
        auto pushed = std::async(std::launch::async, [this] { return push(); });
        ASSERT_TRUE(gate->isReached());
        handleResult({{"Timestamp", number(1)}});
        readAnswer(agent->pluginSideSettings().value);
        setSettings({{"deviceActiveSwitch", "true"}});
        press("selectAllButton");
        frameWasOut = pushed.wait_for(std::chrono::milliseconds(0)) != std::future_status::ready;
        gate->open();
        EXPECT_EQ("", pushed.get());
    }
    EXPECT_TRUE(frameWasOut);
}

// All of them are there whenever a turn ends, so each has every sixteenth.
TEST_F(Frames, OfManyCamerasShareASlowApplication)
{
    using std::chrono::milliseconds;
    constexpr std::size_t kCameras = 16;
    constexpr std::size_t kRounds = 6;
    ExchangeLine& line = services().managerInterface().line();
    application.replyBy(
        [&]
        {
            std::this_thread::sleep_for(milliseconds(20));
            for (int i = 0; i < 100 && line.length() + 1 < kCameras; ++i)
                std::this_thread::sleep_for(milliseconds(1));
            return encodedReply(segment.name);
        });
    std::vector<sdk::Ptr<DeviceAgent>> cameras;
    for (std::size_t i = 0; i < kCameras; ++i)
    {
        startAgent(i);
        processParameters(kPipelines);
        cameras.push_back(agent);
    }
    std::vector<std::size_t> shares(kCameras);
    {
        std::atomic<bool> stop = false;
        std::vector<std::jthread> hostThreads;
        for (std::size_t i = 0; i < kCameras; ++i)
        {
            hostThreads.emplace_back(
                [&, i]
                {
                    while (!stop)
                        EXPECT_EQ("", push(*cameras[i]));
                });
        }
        for (const std::string& message : application.messages(2 * kRounds * kCameras))
        {
            constexpr std::string_view kNumber = "\xaaInputIndex";
            const std::size_t at = message.find(kNumber);
            if (at != std::string::npos)
                ++shares.at(static_cast<std::size_t>(message.at(at + kNumber.size())));
        }
        stop = true;
    }
    const auto [least, most] = std::ranges::minmax(shares);
    EXPECT_LE(kRounds - 1, least) << testing::PrintToString(shares);
    EXPECT_GE(kRounds + 1, most) << testing::PrintToString(shares);
}

TEST_F(Frames, GoOnWhileResultsSettingsAndPipelinesChange)
{
    processParameters(kPipelines);
    std::atomic<bool> stop{false};
    std::vector<std::jthread> others;
    for (const std::function<void()>& action :
         std::initializer_list<std::function<void()>>{
             [&]() {
                 handleResult({{"Timestamp", number(5)}, {"Scores", map({})}});
             },
             [&]() { setCropBox("[[0, 0], [0.5, 1]]"); }, [&]() { processParameters(kPipelines); },
             [&]() { readAnswer(agent->pluginSideSettings().value); }})
    {
        others.emplace_back(
            [&stop, action]()
            {
                // With one of them there all the time, no frame would have the lock.
                for (; !stop; std::this_thread::sleep_for(std::chrono::milliseconds(1)))
                    action();
            });
    }
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ("", push());
    stop = true;
    others.clear();
    EXPECT_EQ(50u, inputs(50));
}

} // namespace tavo::vms_server_plugins::analytics::orlix
