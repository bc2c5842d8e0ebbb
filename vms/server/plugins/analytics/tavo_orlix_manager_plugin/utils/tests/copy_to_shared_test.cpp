#include "utils/copy_to_shared.h"

#include <algorithm>
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

// In one piece and in several, from all places in a cache line to all of them.
TEST(CopyToSharedTest, theResultIsThatOfMemcpy)
{
    const std::vector<char> source = randomBytes(200'000);
    for (const std::size_t size : {0, 1, 63, 64, 65, 1000, 65'600, 150'001})
    {
        for (std::size_t offset = 0; offset < 70; offset += size < 2000 ? 1 : 9)
        {
            for (const std::size_t piece : {size, std::size_t{100}})
            {
                SCOPED_TRACE(testing::Message() << size << " at " << offset << " by " << piece);
                std::vector<char> expected(size + 200, 'x');
                for (const CopyWay way : {CopyWay::plain, CopyWay::streaming})
                {
                    std::vector<char> target(size + 200, 'x');
                    std::copy_n(&source[offset / 2], size, &expected[offset]);
                    SharedCopy copy(&target[offset], way);
                    for (std::size_t done = 0; done < size; done += piece)
                    {
                        copy.append(&source[offset / 2 + done], std::min(piece, size - done));
                    }
                    ASSERT_TRUE(way == CopyWay::streaming || expected == target);
                    copy.finish();
                    ASSERT_TRUE(expected == target);
                }
            }
        }
    }
}

} // namespace
} // namespace tavo::vms_server_plugins::analytics::orlix::test
