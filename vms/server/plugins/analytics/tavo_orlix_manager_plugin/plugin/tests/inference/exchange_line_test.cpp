#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "inference/exchange_line.h"
#include "utils/tests/test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix
{
namespace
{

using test::comesTrue;
using Turn = ExchangeLine::Turn;

constexpr std::chrono::milliseconds kNone{0};
constexpr std::chrono::milliseconds kLong{60'000};

class ExchangeLineTest : public testing::Test
{
protected:
    struct Camera
    {
        char name;
        ExchangeLine::Place place;
    };

    // Gives a frame up at once.
    bool comeInVain(Camera& camera)
    {
        bool isInVain = false;
        std::jthread([&] { isInVain = !Turn(line, camera.place, kNone); }).join();
        return isInVain;
    }

    // Comes back when the camera stands in line; its name is written down at its turn.
    void standInLine(Camera& camera)
    {
        const std::size_t before = line.length();
        m_cameras.emplace_back(
            [this, &camera]
            {
                const Turn turn(line, camera.place, kLong);
                if (turn)
                    m_turns += camera.name;
                else
                    ++inVain;
            });
        EXPECT_TRUE(comesTrue([&] { return line.length() > before; }));
    }

    // Once all who stood in line have gone.
    std::string turns()
    {
        m_cameras.clear();
        return std::exchange(m_turns, {});
    }

    ExchangeLine line;
    std::atomic<int> inVain = 0; // those who stood in line and came to no turn
    Camera a{'a', {}}, b{'b', {}}, c{'c', {}}, holder{'h', {}};

private:
    std::string m_turns; // whose turn it is
    std::vector<std::jthread> m_cameras;
};

TEST_F(ExchangeLineTest, IsInTheOrderOfArrivalWhichACameraKeepsForOneTurn)
{
    const struct
    {
        const char* name;
        std::string inVain, there; // in this order
        const char* turns;
    } kCases[] = {
        {"as they come", "", "cab", "cab"},
        {"those whose frames gave up first, once or twice", "cbc", "abc", "cba"},
        {"once", "", "ac", "ac"},
        {"one that is not there holds nobody up", "b", "a", "a"}};
    const auto camera = [this](char name) -> Camera& {
        return name == 'a' ? a : name == 'b' ? b : c;
    };
    for (const auto& each : kCases)
    {
        SCOPED_TRACE(each.name);
        {
            const Turn held(line, holder.place);
            ASSERT_TRUE(held);
            for (const char name : each.inVain)
                EXPECT_TRUE(comeInVain(camera(name)));
            for (const char name : each.there)
                standInLine(camera(name));
        }
        EXPECT_EQ(each.turns, turns());
    }
    EXPECT_FALSE(comeInVain(b));
}

TEST_F(ExchangeLineTest, AFrameWaitsAFifthOfASecond)
{
    const Turn held(line, holder.place);
    std::chrono::milliseconds shortest = kLong;
    for (int i = 0; i < 20 && shortest > std::chrono::milliseconds(250); ++i) // on a busy machine
    {
        const auto begin = std::chrono::steady_clock::now();
        std::jthread([this] { EXPECT_FALSE(Turn(line, a.place)); }).join();
        shortest = std::min(
            shortest,
            std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now() - begin));
    }
    EXPECT_LE(std::chrono::milliseconds(200), shortest);
    EXPECT_GE(std::chrono::milliseconds(250), shortest);
}

TEST_F(ExchangeLineTest, LosesNoTurnToOneThatGivesUpThen)
{
    constexpr int kCameras = 8;
    constexpr int kFrames = 800;
    int turns = 0; // whose turn it is
    std::atomic<int> given = 0;
    {
        std::vector<std::jthread> cameras;
        for (int i = 0; i < kCameras; ++i)
        {
            cameras.emplace_back(
                [&, i]
                {
                    ExchangeLine::Place place;
                    for (int frame = 0; frame < kFrames; ++frame)
                    {
                        const Turn turn(line, place, std::chrono::milliseconds((frame + i) % 2));
                        if (!turn)
                            continue;
                        ++turns;
                        ++given;
                        if (frame % 8 == 0) // so that somebody's patience ends with this turn
                            std::this_thread::sleep_for(std::chrono::milliseconds(1));
                    }
                });
        }
    }
    EXPECT_EQ(given, turns) << "one at a time";
    EXPECT_TRUE(Turn(line, a.place, kNone)) << "nobody has it any more";
}

TEST_F(ExchangeLineTest, EndsAllWaitsWhenItIsClosed)
{
    {
        const Turn held(line, holder.place);
        standInLine(a);
        standInLine(b);
        const auto begin = std::chrono::steady_clock::now();
        line.close();
        EXPECT_EQ("", turns());
        EXPECT_GT(kLong / 2, std::chrono::steady_clock::now() - begin);
        EXPECT_EQ(2, inVain);
    }
    EXPECT_TRUE(comeInVain(c));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix
