// The real programs, and this test as the plugin.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <testing/platform.h>

#include "application_test_support.h"
#include "engine/geometry.h"

namespace tavo::devkit
{
namespace
{

constexpr char kMotionModel[] =
    R"([{"UUID":"model","Name":"motion","Filepath":"/unused",
         "NamedOutput":[{"Name":"bboxes-format:xyxy;0:mover"}]}])";

constexpr Box kSquare{120, 60, 60, 50};

TestPicture emptyScene(int width = 320)
{
    return TestPicture({width, width * 3 / 4}, 80);
}

TestPicture sceneWithSquare()
{
    TestPicture scene = emptyScene();
    scene.fill(kSquare, 240);
    return scene;
}

bool exists(const std::string& segmentName)
{
    orlix::ShmSegment segment;
    orlix::shm_from_name(segment, segmentName);
    const bool isOpen = orlix::shm_open(segment);
    orlix::shm_close(segment);
    return isOpen;
}

class ApplicationTest : public testing::Test
{
protected:
    // Of a frame that is known to be handed over.
    std::optional<ReceivedResult> resultOf(
        std::uint64_t inputIndex, std::uint64_t timestampUs, const TestPicture& scene)
    {
        EXPECT_TRUE(m_plugin.sendFrameOnceReady(inputIndex, timestampUs, scene));
        return m_plugin.nextResult();
    }

    void expectNothingLeft() const
    {
        EXPECT_TRUE(comesTrue([&] { return m_application.pidsOf("brund").empty(); }));
        EXPECT_TRUE(m_application.pidsOf("brunmod").empty());
        EXPECT_FALSE(m_application.folder().has("module.sock"));
        for (const auto& [name, view] : m_plugin.segments())
            EXPECT_FALSE(exists(name)) << name;
    }

    InstalledApplication m_application{kMotionModel};
    PluginSide m_plugin{m_application};
};

TEST_F(ApplicationTest, findsWhatMovesCountsItAndStopsWhenTold)
{
    m_application.start();
    const auto background = resultOf(7, 1'000'000, emptyScene());
    ASSERT_TRUE(background);
    EXPECT_EQ(background->inputIndex, 7u);
    EXPECT_EQ(background->timestampUs, 1'000'000u);
    EXPECT_EQ(background->width, 320);
    EXPECT_TRUE(background->boxes.empty());

    const auto found = resultOf(7, 1'100'000, sceneWithSquare());
    ASSERT_TRUE(found);
    ASSERT_EQ(found->boxes.count("mover"), 1u);
    ASSERT_EQ(found->boxes.at("mover").size(), 1u);
    EXPECT_GT(overlapOf(found->boxes.at("mover")[0], kSquare), 0.6f);
    EXPECT_EQ(found->counts, (std::map<std::string, std::uint64_t>{{"mover", 1}}));
    EXPECT_EQ(found->idCount, 1u);

    // Another camera, with larger frames, has a background of its own.
    const auto other = resultOf(8, 1'200'000, emptyScene(1280));
    ASSERT_TRUE(other);
    EXPECT_EQ(other->inputIndex, 8u);
    EXPECT_TRUE(other->boxes.empty());

    m_plugin.sendCommand(0);
    EXPECT_EQ(m_application.waitForEnd(), 0);
    expectNothingLeft();
    const std::string log = m_application.folder().read("app/etc/brunmod_start.log");
    EXPECT_NE(log.find("The engine has stopped with exit code 0\n"), std::string::npos) << log;
}

TEST_F(ApplicationTest, badPeersCostNobodyElse)
{
    m_application.start();
    ASSERT_TRUE(resultOf(0, 1, emptyScene()));

    std::vector<orlix::SocketHandle> peers;
    const auto connect = [&]
    { return peers.emplace_back(orlix::socket_connect(m_application.moduleSocket())); };
    for (int i = 0; i < 200; ++i) // more than are kept
        connect();
    const std::string garbage[] = {
        "", std::string(1, '\xc1'), "\x81", "\x05hello", std::string(60'000, '\x91')};
    for (const std::string& body : garbage)
    {
        orlix::socket_send_message(connect(), body.data(), static_cast<std::uint32_t>(body.size()));
    }
    // A size beyond any bound, and one whose body never comes.
    for (const std::uint32_t size : {0xFFFF'FFFFu, 100u})
    {
        const std::string head(reinterpret_cast<const char*>(&size), sizeof size);
        ASSERT_TRUE(test_support::sendBytes(connect(), head));
    }
    // An announcement, and away.
    const char announcement[] = "\x83\xabmessageType\x00\xaaInputIndex\x00\xa4Size\xcd\x10\x00";
    orlix::socket_send_message(connect(), announcement, sizeof announcement - 1);
    orlix::socket_close(peers.back());
    peers.pop_back();

    const auto result = resultOf(0, 2, sceneWithSquare());
    ASSERT_TRUE(result);
    EXPECT_EQ(result->timestampUs, 2u);
    EXPECT_EQ(result->boxes.count("mover"), 1u);
    for (const orlix::SocketHandle peer : peers)
        orlix::socket_close(peer);
    m_plugin.sendCommand(0);
    EXPECT_EQ(m_application.waitForEnd(), 0);
}

TEST_F(ApplicationTest, anEngineThatDiesEndsItWithAWordOnStandardError)
{
    m_application.start();
    ASSERT_TRUE(resultOf(0, 1, emptyScene()));
    for (const std::uint32_t process : m_application.pidsOf("brund"))
        test_support::endProcess(process);
    EXPECT_EQ(m_application.waitForEnd(), 1);
    EXPECT_NE(
        m_application.errorText().find("Error! The engine has ended: exit code"),
        std::string::npos);
    expectNothingLeft();
}

TEST_F(ApplicationTest, aModelThatCannotBeLoadedIsNamedOnStandardError)
{
    m_application.folder().write(
        "app/etc/settings.json", R"([{"UUID":"u","Name":"Faces","Filepath":"/none.onnx"}])");
    m_application.start();
    EXPECT_EQ(m_application.waitForEnd(), 1);
    EXPECT_NE(
        m_application.errorText().find("Model Faces cannot be loaded from /none.onnx"),
        std::string::npos);
}

TEST_F(ApplicationTest, whatAKilledRunLeavesIsCleanedByTheNext)
{
    m_application.start();
    ASSERT_TRUE(resultOf(0, 1, emptyScene()));
    ASSERT_FALSE(m_plugin.segments().empty());
    const std::string left = m_plugin.segments().begin()->first;
    m_application.kill();
    (void)m_application.waitForEnd();
    EXPECT_TRUE(comesTrue([&] { return m_application.pidsOf("brund").empty(); }));
    EXPECT_TRUE(exists(left) || !test_support::kSegmentsOutliveTheirUsers);
    EXPECT_TRUE(m_application.folder().has("module.sock"));

    m_application.start();
    const auto result = resultOf(0, 2, emptyScene());
    ASSERT_TRUE(result);
    EXPECT_EQ(result->timestampUs, 2u);
    EXPECT_FALSE(exists(left));
    m_plugin.sendCommand(0);
    EXPECT_EQ(m_application.waitForEnd(), 0);
    expectNothingLeft();
}

} // namespace
} // namespace tavo::devkit
