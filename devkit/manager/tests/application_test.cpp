// The real programs, and this test as the plugin.

#include <string>
#include <vector>

#include <testing/platform.h>

#include "application_fixture.h"
#include "engine/geometry.h"

namespace tavo::devkit
{
namespace
{

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

TEST_F(ApplicationTest, findsWhatMovesCountsItAndStopsWhenTold)
{
    start();
    const auto background = resultOf(7, 1'000'000, emptyScene());
    ASSERT_TRUE(background);
    EXPECT_EQ(background->inputIndex, 7u);
    EXPECT_EQ(background->timestampUs, 1'000'000u);
    EXPECT_EQ(background->width, 320);
    EXPECT_TRUE(background->movers.empty());

    const auto found = resultOf(7, 1'100'000, sceneWithSquare());
    ASSERT_TRUE(found);
    ASSERT_EQ(found->movers.size(), 1u);
    EXPECT_GT(overlapOf(found->movers[0], kSquare), 0.6f);
    EXPECT_EQ(found->count, 1u);
    EXPECT_EQ(found->idCount, 1u);

    // Another camera, with larger frames, has a background of its own.
    const auto other = resultOf(8, 1'200'000, emptyScene(1280));
    ASSERT_TRUE(other);
    EXPECT_EQ(other->inputIndex, 8u);
    EXPECT_TRUE(other->movers.empty());

    expectStops();
    const std::string log = m_folder.read("app/etc/brunmod_start.log");
    EXPECT_NE(log.find("The engine has stopped with exit code 0\n"), std::string::npos) << log;
}

TEST_F(ApplicationTest, badPeersCostNobodyElse)
{
    start();
    ASSERT_TRUE(resultOf(0, 1, emptyScene()));

    std::vector<orlix::SocketHandle> peers;
    const auto connect = [&] { return peers.emplace_back(orlix::socket_connect(m_moduleSocket)); };
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
    EXPECT_EQ(result->movers.size(), 1u);
    for (const orlix::SocketHandle peer : peers)
        orlix::socket_close(peer);
    expectStops();
}

TEST_F(ApplicationTest, anEngineThatDiesEndsItWithAWordOnStandardError)
{
    start();
    ASSERT_TRUE(resultOf(0, 1, emptyScene()));
    for (const std::uint32_t process : pidsOf("brund"))
        test_support::endProcess(process);
    EXPECT_EQ(waitForEnd(), 1);
    EXPECT_NE(errorText().find("Error! The engine has ended: exit code"), std::string::npos);
    expectNothingLeft();
}

TEST_F(ApplicationTest, aModelThatCannotBeLoadedIsNamedOnStandardError)
{
    m_folder.write(
        "app/etc/settings.json", R"([{"UUID":"u","Name":"Faces","Filepath":"/none.onnx"}])");
    start();
    EXPECT_EQ(waitForEnd(), 1);
    EXPECT_NE(errorText().find("Model Faces cannot be loaded from /none.onnx"), std::string::npos);
}

TEST_F(ApplicationTest, whatAKilledRunLeavesIsCleanedByTheNext)
{
    start();
    ASSERT_TRUE(resultOf(0, 1, emptyScene()));
    ASSERT_FALSE(m_segments.empty());
    const std::string left = *m_segments.begin();
    orlix::process_kill(m_process);
    (void)waitForEnd();
    EXPECT_TRUE(comesTrue([&] { return pidsOf("brund").empty(); }));
    EXPECT_TRUE(segmentExists(left) || !test_support::kSegmentsOutliveTheirUsers);
    EXPECT_TRUE(m_folder.has(orlix::protocol::kModuleSocketFile));

    start();
    const auto result = resultOf(0, 2, emptyScene());
    ASSERT_TRUE(result);
    EXPECT_EQ(result->timestampUs, 2u);
    EXPECT_FALSE(segmentExists(left));
    expectStops();
}

} // namespace
} // namespace tavo::devkit
