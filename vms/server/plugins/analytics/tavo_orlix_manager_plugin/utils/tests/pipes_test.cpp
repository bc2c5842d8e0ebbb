#include "utils/pipes.h"

#include <cerrno>
#include <utility>

#include "test_support.h"

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

constexpr int kUp = 1;
constexpr int kDown = 2;

PipePair newPair()
{
    int status = -1;
    PipePair pair = pipe_pair_new(status);
    EXPECT_EQ(0, status);
    return pair;
}

TEST(PipesTest, bytesTravelOnBothSides)
{
    PipePair pair = newPair();
    for (const int side : {kUp, kDown})
    {
        EXPECT_EQ(1, pipe_write_byte(pair, side, static_cast<std::uint8_t>(side + 40)));
        EXPECT_EQ(side + 40, pipe_read_byte(pair, side));
        EXPECT_EQ(253, pipe_read_byte_timeout(pair, side, 0));
    }
    EXPECT_FALSE(test_support::isInherited(pair.upRead.handle));
    EXPECT_FALSE(test_support::isInherited(pair.downWrite.handle));
}

TEST(PipesTest, aSideIsClosedAsItsPartyUsesIt)
{
    PipePair made = newPair();
    PipePair pair = pipe_pair_fill(
        std::move(made.upRead), std::move(made.upWrite), std::move(made.downRead),
        std::move(made.downWrite));
    pipe_close_side(pair, 2);
    EXPECT_EQ(kInvalidPipe, pair.upWrite.handle);
    EXPECT_EQ(kInvalidPipe, pair.downRead.handle);
    EXPECT_EQ(kPipeEmpty, pipe_read_byte(pair, kUp));
    EXPECT_EQ(kPipeTimeout, pipe_read_byte_timeout(pair, kUp, 0));
    EXPECT_EQ("", pipe_read_text(pair.upRead));
    EXPECT_EQ(0, pipe_write_byte(pair, kDown, 1)); // without a signal
    pipe_close_side(pair, 1);
    EXPECT_EQ(std::nullopt, pipe_read_text(pair.upRead));
    EXPECT_EQ(kPipeFailed, pipe_read_byte(pair, kUp));
    EXPECT_EQ(kPipeFailed, pipe_read_byte_timeout(pair, kUp, 0));
}

TEST(PipesTest, noPairIsPassedOver)
{
    PipePair first = newPair();
    PipePair second = newPair();
    PipePair third = newPair();
    PipePair* const pairs[] = {&first, &second, &third};
    std::uint8_t byte = 0;
    pipe_write_byte(first, kUp, 1);
    pipe_write_byte(first, kUp, 2);
    pipe_write_byte(second, kUp, 3);
    EXPECT_EQ(0u, pipe_wait_any(pairs, kUp, &byte));
    EXPECT_EQ(1, byte);
    EXPECT_EQ(1u, pipe_wait_any(pairs, kUp, &byte));
    EXPECT_EQ(3, byte);
    EXPECT_EQ(0u, pipe_wait_any(pairs, kUp, &byte));
    EXPECT_EQ(2, byte);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(3u, pipe_wait_any(pairs, kUp, &byte));
    EXPECT_LE(std::chrono::milliseconds(990), std::chrono::steady_clock::now() - begin);
    errno = 0;
    EXPECT_EQ(3u, pipe_wait_any(pairs, kUp, nullptr));
    EXPECT_EQ(EINVAL, std::exchange(errno, 0));
    EXPECT_EQ(0u, pipe_wait_any({}, kUp, &byte));
    EXPECT_EQ(EINVAL, errno);
    // What waits for a byte meanwhile takes it from nobody.
    pipe_write_byte(first, kUp, 4);
    pipe_write_byte(second, kUp, 5);
    pipe_write_byte(second, kUp, 6);
    pipe_write_byte(third, kUp, 7);
    pipe_write_byte(third, kUp, 8);
    EXPECT_EQ(4, pipe_read_byte(first, kUp));
    EXPECT_EQ(5, pipe_read_byte_timeout(second, kUp, 1));
    EXPECT_EQ("\6", pipe_read_text(second.upRead));
    EXPECT_EQ("\7\10", pipe_read_text(third.upRead));
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
