// The road of a frame, through a real agent to an application's end of sockets and segment.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "agent_fixture.h"
#include "device_agent/node_text.h"
#include "fake_application.h"
#include "utils/clock.h"

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kPipelines[] =
    R"({"deviceAdmin": "https://admin", "pipelines": [{"modelUUID": "m1", "modelNMS": 0.5}]})";

// A frame whose bytes count up, and that knows how many of its kind live.
class TestFrame : public sdk::RefCountable<sdk::analytics::IUncompressedVideoFrame>
{
public:
    TestFrame(int width, int height, int lineSize, std::uint64_t timestampUs) :
        m_width(width),
        m_height(height),
        m_lineSize(lineSize),
        m_timestampUs(timestampUs),
        m_plane(static_cast<std::size_t>(height * lineSize))
    {
        for (std::size_t i = 0; i < m_plane.size(); ++i)
            m_plane[i] = static_cast<char>(i % 251);
        ++alive;
    }
    ~TestFrame() override { --alive; }

    std::int64_t timestampUs() const override { return static_cast<std::int64_t>(m_timestampUs); }
    const char* data(int plane) const override { return plane == 0 ? m_plane.data() : nullptr; }
    int width() const override { return m_width; }
    int height() const override { return m_height; }
    int lineSize(int) const override { return m_lineSize; }
    PixelFormat pixelFormat() const override { return PixelFormat::rgb; }
    int planeCount() const override { return 1; }
    int dataSize(int) const override { return static_cast<int>(m_plane.size()); }

    // `rows` rows of `columns` pixels from left, top, as they lie `stride` bytes apart.
    [[nodiscard]] std::string pixels(int left, int top, int columns, int rows, int stride) const
    {
        std::string bytes;
        for (int row = top; row < top + rows; ++row)
            bytes.append(
                m_plane.data() + row * stride + left * 3, static_cast<std::size_t>(columns) * 3);
        return bytes;
    }

    static inline std::atomic<int> alive{0};

private:
    const int m_width, m_height, m_lineSize;
    const std::uint64_t m_timestampUs;
    std::vector<char> m_plane;
};

class Frames : public AgentTest
{
protected:
    ~Frames() override { EXPECT_EQ(0, TestFrame::alive) << "every frame was released"; }

    // The error message of the push; empty on success.
    std::string push(const sdk::Ptr<TestFrame>& frame)
    {
        sdk::Result<void> result;
        agent->doPushDataPacket(&result, frame.get());
        const sdk::Ptr<const sdk::IString> message(result.errorMessage);
        return message ? message->str() : "";
    }

    std::string push(std::uint64_t timestampUs = 1)
    {
        return push(sdk::makePtr<TestFrame>(4, 2, 12, timestampUs));
    }

    void setCropBox(const std::string& points)
    {
        setSettings({{"cropBox", R"({"figure": {"points": )" + points + "}}"}});
    }

    // Of the one input that the application got.
    struct Input
    {
        std::string pixels, deviceId, deviceName;
        std::uint64_t width, height, index, timestampUs;
    };

    Input takeInput()
    {
        const auto inputs = application.inputs(m_inputsTaken + 1);
        EXPECT_THAT(inputs, SizeIs(m_inputsTaken + 1));
        Input input{};
        if (inputs.size() != m_inputsTaken + 1)
            return input;
        ++m_inputsTaken;
        MessageTree tree;
        (void)tree.parse(inputs.back());
        const mpack_node_t root = tree.root();
        const mpack_node_t image = mpack_node_map_cstr(root, "ImageData");
        input.pixels.assign(mpack_node_bin_data(image), mpack_node_bin_size(image));
        input.deviceId = readText(mpack_node_map_cstr(root, "DeviceID"));
        input.deviceName = readText(mpack_node_map_cstr(root, "DeviceName"));
        input.width = mpack_node_u64(mpack_node_map_cstr(root, "Width"));
        input.height = mpack_node_u64(mpack_node_map_cstr(root, "Height"));
        input.index = mpack_node_u64(mpack_node_map_cstr(root, "InputIndex"));
        input.timestampUs = mpack_node_u64(mpack_node_map_cstr(root, "Timestamp"));
        EXPECT_EQ(mpack_ok, tree.error());
        return input;
    }

    // The latency in the throughput event of a result for that frame, or "".
    std::string latency(std::uint64_t timestampUs)
    {
        handleResult({{"Timestamp", number(timestampUs)}});
        const auto packets = handler->takeEvents();
        if (packets.size() != 1 || packets[0]->count() != 1)
            return "";
        const sdk::Ptr<const sdk::analytics::IEventMetadata> event(packets[0]->at(0));
        const std::string description = event->description();
        const std::size_t at = description.find("Latency");
        return at == std::string::npos ? "" : description.substr(at);
    }

    FakeApplication application{folder.path()};

private:
    std::size_t m_inputsTaken = 0;
};

TEST_F(Frames, PassOnlyWhenAllGatesAreOpen)
{
    EXPECT_EQ("", push()) << "nothing is there";
    processParameters(kPipelines);
    EXPECT_EQ("", push()) << "no application, no cloud";
    openGates();
    ini().sendFramesOverride = false;
    EXPECT_EQ("", push()) << "not active";
    setSettings({{"deviceActiveSwitch", "true"}});
    EXPECT_EQ("", push()) << "the application does not run";
    ini().sendFramesOverride = true;
    engine().cloudConnectionState = 2;
    EXPECT_EQ("", push()) << "no cloud, which no override mends";
    EXPECT_THAT(application.inputs(), IsEmpty());

    engine().cloudConnectionState = 5;
    EXPECT_EQ("", push());
    EXPECT_THAT(application.inputs(1), SizeIs(1));
    EXPECT_EQ(1u, countInLog("Did checks.\n"));
}

TEST_F(Frames, NeedAPipelineWhateverTheOverride)
{
    openGates();
    EXPECT_EQ("", push());
    EXPECT_THAT(application.inputs(), IsEmpty());
    processParameters(kPipelines);
    EXPECT_EQ("", push());
    EXPECT_THAT(application.inputs(1), SizeIs(1));
    // Pipelines that went away leave the gate open.
    processParameters(R"({"deviceAdmin": "https://admin"})");
    EXPECT_EQ("", push());
    EXPECT_THAT(application.inputs(2), SizeIs(2));
}

TEST_F(Frames, ArriveWithTheirDevice)
{
    openGates();
    processParameters(kPipelines);
    const auto frame = sdk::makePtr<TestFrame>(4, 3, /*lineSize*/ 17, /*timestampUs*/ 12345);
    EXPECT_EQ("", push(frame));
    const Input input = takeInput();
    EXPECT_EQ(frame->pixels(0, 0, 4, 3, 17), input.pixels) << "the frame's own line size";
    EXPECT_EQ(4u, input.width);
    EXPECT_EQ(3u, input.height);
    EXPECT_EQ(12345u, input.timestampUs);
    EXPECT_EQ(kDeviceNumber, input.index);
    EXPECT_EQ(kDeviceId, input.deviceId);
    EXPECT_EQ("Gate", input.deviceName);
}

TEST_F(Frames, AreCropped)
{
    openGates();
    processParameters(kPipelines);
    setCropBox("[[0.25, 0.5], [0.75, 1]]");
    const auto frame = sdk::makePtr<TestFrame>(8, 4, 24, 1);
    EXPECT_EQ("", push(frame));
    Input input = takeInput();
    EXPECT_EQ(frame->pixels(2, 2, 4, 2, 24), input.pixels);
    EXPECT_EQ(4u, input.width);
    EXPECT_EQ(2u, input.height);

    // With padding behind the rows a crop is read as if there were none.
    const auto padded = sdk::makePtr<TestFrame>(8, 4, 32, 2);
    EXPECT_EQ("", push(padded));
    input = takeInput();
    EXPECT_EQ(padded->pixels(2, 2, 4, 2, 24), input.pixels);

    setCropBox("[[0, 0], [1, 1]]");
    EXPECT_EQ("", push(padded));
    EXPECT_EQ(padded->pixels(0, 0, 8, 4, 24), takeInput().pixels);
}

TEST_F(Frames, FailWhenTheCropComesToNothing)
{
    openGates();
    processParameters(kPipelines);
    setCropBox("[[0.26, 0], [0.49, 1]]");
    EXPECT_EQ("pushUncompressedVideoFrame() failed.", push()) << "both in the second column";
    EXPECT_EQ("pushUncompressedVideoFrame() failed.", push());
    EXPECT_EQ(2u, countInLog("Error! Crop box too small!\n"));
    EXPECT_EQ(2u, countInLog("Crop height and width: 0x2\n"));
    setCropBox("[[0.25, 0], [0.5, 1]]");
    EXPECT_EQ("", push()) << "one pixel is enough";
    EXPECT_EQ(1u, takeInput().width);
}

TEST_F(Frames, FailWhenNoMessageCanBeMade)
{
    class HugeFrame : public TestFrame
    {
    public:
        HugeFrame() :
            TestFrame(1, 1, 3, 1)
        {}
        int width() const override { return 60000; } // beyond any segment; never read
        int height() const override { return 60000; }
    };
    openGates();
    processParameters(kPipelines);
    EXPECT_EQ("pushUncompressedVideoFrame() failed.", push(sdk::makePtr<HugeFrame>()));
    EXPECT_EQ(1u, countInLog("Warning! Could not create image message.\n"));
    EXPECT_EQ("", push()) << "the next one goes on";
}

TEST_F(Frames, ThatAreNotTakenAreNoFailureAndAreNotTimed)
{
    openGates();
    processParameters(kPipelines);
    EXPECT_EQ("", latency(1)) << "the first result";
    application.setReady(false);
    EXPECT_EQ("", push(1000));
    EXPECT_EQ("", latency(1000));
    application.setReady(true);
    EXPECT_EQ("", push(2000));
    EXPECT_THAT(latency(2000), HasSubstr("Latency: "));
}

TEST_F(Frames, AreRememberedTenAtATime)
{
    openGates();
    processParameters(kPipelines);
    for (std::uint64_t i = 1; i <= 10; ++i)
        EXPECT_EQ("", push(i));
    EXPECT_EQ(0u, countInLog("Replacing oldest frame time.\n"));
    EXPECT_EQ("", push(11));
    EXPECT_EQ("", push(12));
    EXPECT_EQ(2u, countInLog("Replacing oldest frame time.\n"));
}

TEST_F(Frames, ThatAreOldAreTold)
{
    openGates();
    processParameters(kPipelines);
    const std::uint64_t nowUs = time_now_us();
    EXPECT_EQ("", push(nowUs + 60'000'000)) << "of the future";
    EXPECT_EQ("", push(nowUs));
    EXPECT_EQ(0u, countInLog("Warning! Frame age over 500ms."));
    EXPECT_EQ("", push(nowUs - 600'000));
    EXPECT_EQ(
        1u,
        countInLog(
            "Frame time: " + std::to_string(nowUs - 600'000) + " Device: " + kDeviceId + "\n"));
    EXPECT_EQ(1u, countInLog("Warning! Frame age over 500ms. Time now:  "));
    EXPECT_THAT(application.inputs(3), SizeIs(3)) << "and go on";
}

TEST_F(Frames, GoOnWhileResultsSettingsAndPipelinesChange)
{
    openGates();
    processParameters(kPipelines);
    std::atomic<bool> stop{false};
    std::vector<std::thread> others;
    const auto repeat = [&](auto what)
    {
        others.emplace_back(
            [&stop, what]()
            {
                while (!stop)
                    what();
            });
    };
    repeat(
        [&]() {
            handleResult({{"Timestamp", number(5)}, {"Counts", map({{"a", number(1)}})}});
        });
    repeat([&]() { setSettings({{"cropBox", R"({"figure": {"points": [[0, 0], [0.5, 1]]}})"}}); });
    repeat([&]() { processParameters(kPipelines); });
    repeat(
        [&]()
        {
            readAnswer(agent->pluginSideSettings().value);
            const MutexLock lock(settingsLock());
            (void)agent->isActive();
        });
    for (std::uint64_t i = 1; i <= 50; ++i)
        EXPECT_EQ("", push(i));
    stop = true;
    for (std::thread& other : others)
        other.join();
    EXPECT_THAT(application.inputs(50), SizeIs(50));
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
