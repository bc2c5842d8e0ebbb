#include "utils/copy_to_shared.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix::test
{
namespace
{

std::vector<char> randomBytes(std::size_t size)
{
    std::vector<char> bytes(size);
    std::minstd_rand numbers(7);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(numbers()); });
    return bytes;
}

// Sizes on both sides of the one from which a copy is streamed, all places in a cache line.
TEST(CopyToSharedTest, theResultIsThatOfMemcpy)
{
    const std::vector<char> source = randomBytes(200'000);
    for (const std::size_t size : {0, 1, 63, 64, 65, 1000, 65'535, 65'536, 65'600, 150'001})
    {
        for (std::size_t offset = 0; offset < 70; offset += size < 2000 ? 1 : 9)
        {
            SCOPED_TRACE(testing::Message() << size << " at " << offset);
            std::vector<char> target(size + 200, 'x');
            std::vector<char> expected = target;
            std::copy_n(&source[offset / 2], size, &expected[offset]);
            copy_to_shared(&target[offset], &source[offset / 2], size);
            ASSERT_TRUE(expected == target);
        }
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
